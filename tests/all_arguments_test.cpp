// SPDX-License-Identifier: Apache-2.0
// Every operation with null in place of every pointer, and zero, the largest and the smallest value in place of every
// number: a status, and never a crash.
#include <chrono>
#include <cstring>
#include <limits>
#include <new>
#include <tuple>
#include <type_traits>

#include <gtest/gtest.h>

#include "fapi_load.h"
#include "support/descriptors.h"
#include "support/descriptors.h"
#include "support/emulation.h"
#include "support/log_capture.h"
#include "support/set_fixture.h"
#include "support/waiting.h"

namespace {

enum class Fill { zero, allOnes, largest, smallest };

template <class Integer>
Integer number(Fill eFill) {
    switch (eFill) {
        case Fill::allOnes:
            return static_cast<Integer>(-1);
        case Fill::largest:
            return std::numeric_limits<Integer>::max();
        case Fill::smallest:
            return std::numeric_limits<Integer>::min();
        case Fill::zero:
            break;
    }
    return 0;
}

// Records are filled byte by byte; those with members that not every byte is a value of have their own.
template <class Record>
void fill(Record& record, Fill eFill) {
    if constexpr (std::is_trivially_copyable_v<Record>) {
        std::memset(&record, number<signed char>(eFill), sizeof(record));
    }
}

void fill(fapi_core::VexTvFApiGOPPatternAttr_t& attr, Fill eFill) {
    const auto u16Value = number<unsigned short>(eFill);
    attr = {eFill != Fill::zero, u16Value, u16Value, u16Value, u16Value, u16Value, u16Value, u16Value};
}

void fill(fapi_core::VexTvFApiGOPPatternBitmap_t& bitmap, Fill eFill) {
    const auto u32Value = number<unsigned int>(eFill);
    bitmap = {u32Value, u32Value, "", u32Value, u32Value, u32Value, u32Value};
}

template <class Enumeration, class = void>
struct IsFixed : std::false_type {};
template <class Enumeration>
struct IsFixed<Enumeration, std::void_t<decltype(Enumeration{0u})>> : std::true_type {};

// The values that an argument is made of.
template <class Type>
struct Argument {
    explicit Argument([[maybe_unused]] Fill eFill) {
        if constexpr (std::is_same_v<Type, bool>) {
            value = eFill != Fill::zero;
        } else if constexpr (std::is_enum_v<Type>) {
            value = enumeration(eFill);
        } else if constexpr (std::is_integral_v<Type>) {
            value = number<Type>(eFill);
        } else if constexpr (std::is_class_v<Type>) {
            fill(value, eFill);
        }
    }

    Type value = {};  // a pointer stays null

private:
    // The middleware's C enumerations have the values that their enumerators need; the library's any of their type's.
    static Type enumeration(Fill eFill) {
        using Number = std::underlying_type_t<Type>;
        const Number all = IsFixed<Type>::value ? number<Number>(eFill) : number<Number>(eFill) & 0x7FFFFFFF;
        return static_cast<Type>(all);
    }
};

template <class Result, class... Types>
void call(Result (*operation)(Types...), [[maybe_unused]] Fill eFill) {
    std::tuple<Argument<std::remove_cv_t<std::remove_reference_t<Types>>>...> arguments{
        Argument<std::remove_cv_t<std::remove_reference_t<Types>>>(eFill)...};
    std::apply([&](auto&... argument) { static_cast<void>(operation(argument.value...)); }, arguments);
}

struct Operation {
    const char* pszName;
    void (*run)(Fill eFill);
};

#define OPERATION(name, symbol) {#name, [](Fill eFill) { call(name, eFill); }},
constexpr Operation kOperations[] = {FAPI_OPERATIONS(OPERATION)};
#undef OPERATION

class AllArguments : public test::SetTest {
protected:
    // Several operations keep what they open, and most hand on what the chip refuses.
    AllArguments() {
        leavesOpen("HW_");
        refuses(kAnyCall);
    }

    void SetUp() override {
        SKIP_UNDER_EMULATION();
        SetTest::SetUp();
        _s32Threads = test::threads();
        bringUp();
    }

    void TearDown() override {
        if (IsSkipped()) {
            return;
        }
        // Some of the values start a thread, which must not use the set of the next test.
        a_vextvfapi_disptst_set_burning_mode(0);
        a_vextvfapi_prphrl_set_uart_pipe_mode(0, nullptr);
        a_vextvfapi_prphrl_stop_keypad();
        a_vextvfapi_prphrl_gpio_monitor_stop();
        a_vextvfapi_prphrl_std_factory_uart_stop();
        a_vextvfapi_prphrl_stop_factory_uart(0);
        a_vextvfapi_prphrl_set_mic_led(2);
        a_vextvfapi_disptst_gen_gop_test_pattern_off();
        EXPECT_TRUE(test::eventually([this] { return test::threads() <= _s32Threads; })) << "a thread is left";
        SetTest::TearDown();
    }

    static void bringUp() {
        ASSERT_EQ(a_vextvfapi_sys_init(), 0);
        a_vextvfapi_prphrl_init();
        a_vextvfapi_aud_init();
        a_vextvfapi_disp_init();
        a_vextvfapi_disptst_init();
        a_vextvfapi_inpsrc_init();
    }

    static void runAll(Fill eFill) {
        for (const Operation& operation : kOperations) {
            SCOPED_TRACE(operation.pszName);
            // This operation has no arguments, and waits until another program opens the pipe for writing.
            if (std::strcmp(operation.pszName, "_a_vextvfapi_prphrl_create_pipe_file") == 0) {
                continue;
            }
            EXPECT_LT(test::secondsOf([&] { operation.run(eFill); }), test::patient(20));
        }
        // The set goes on.
        bringUp();
        unsigned int u32Version = 0;
        EXPECT_EQ(a_vextvfapi_disp_switch_window(u32Version), 0);
    }

private:
    int _s32Threads = 0;
};

TEST_F(AllArguments, Zero) {
    runAll(Fill::zero);
}
TEST_F(AllArguments, AllOnes) {
    runAll(Fill::allOnes);
}
TEST_F(AllArguments, Largest) {
    runAll(Fill::largest);
}
TEST_F(AllArguments, Smallest) {
    runAll(Fill::smallest);
}

TEST_F(AllArguments, WithTheLogOn) {
    test::logOf([] { runAll(Fill::zero); });
    test::logOf([] { runAll(Fill::allOnes); });
}

}  // namespace
