// SPDX-License-Identifier: Apache-2.0
// Every operation with null in place of every pointer, or of one of them, and with numbers at the ends of their types:
// a status, and never a crash.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <map>
#include <set>
#include <tuple>
#include <type_traits>

#include <gtest/gtest.h>

#include "fapi_load.h"
#include "support/descriptors.h"
#include "support/emulation.h"
#include "support/log_capture.h"
#include "support/set_fixture.h"
#include "support/sleeps.h"
#include "support/waiting.h"

namespace {

// What all numbers of a call are.
enum class Fill { zero, allOnes, largest, smallest, one, aFew };

template <class Integer>
Integer number(Fill eFill) {
    using Limits = std::numeric_limits<Integer>;
    const Integer numbers[] = {0, static_cast<Integer>(-1), Limits::max(), Limits::min(), 1, static_cast<Integer>(200)};
    return numbers[static_cast<std::size_t>(eFill)];
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

// A text that is a file, too.
constexpr char kText[] = "/data/file";

// The pointers of one call: all null, or one of them.
class Pointers {
public:
    static constexpr int kAll = -1;
    explicit Pointers(int s32Null) : _s32Null(s32Null) {}

    // Returns the next one, from left to right: null, or room with a path in it for texts, with zeros for all else.
    void* next(bool bText) {
        if (_s32Null == kAll || _s32Null == _s32Count++) {
            return nullptr;
        }
        std::vector<char>& room = _rooms.emplace_back(65536);
        std::strcpy(room.data(), bText ? kText : "");
        return room.data();
    }

private:
    int _s32Count = 0;
    const int _s32Null;
    std::vector<std::vector<char>> _rooms;
};

// The values that an argument is made of.
template <class Type>
struct Argument {
    Argument(Fill eFill, Pointers& pointers) {
        if constexpr (std::is_same_v<Type, bool>) {
            value = eFill != Fill::zero;
        } else if constexpr (std::is_same_v<Type, HW_FLASH_Type_e>) {
            value = static_cast<Type>(number<unsigned int>(eFill) & E_HW_FLASH_TYPE_FORCE_U32);
        } else if constexpr (std::is_enum_v<Type>) {
            value = static_cast<Type>(number<std::underlying_type_t<Type>>(eFill));
        } else if constexpr (std::is_integral_v<Type>) {
            value = number<Type>(eFill);
        } else if constexpr (std::is_class_v<Type>) {
            fill(value, eFill);
        } else if constexpr (!std::is_function_v<std::remove_pointer_t<Type>>) {
            using Target = std::remove_cv_t<std::remove_pointer_t<Type>>;
            constexpr bool bText = std::is_same_v<Target, unsigned char> || std::is_same_v<Target, char>;
            value = static_cast<Type>(pointers.next(bText));
        }
    }

    Type value = {};
};

template <class Type>
constexpr bool isData() {
    return std::is_pointer_v<Type> && !std::is_function_v<std::remove_pointer_t<Type>>;
}

template <class Result, class... Types>
constexpr int pointersOf(Result (*)(Types...)) {
    return (0 + ... + isData<Types>());
}

template <class Result, class... Types>
long long call(Result (*operation)(Types...), [[maybe_unused]] Fill eFill, [[maybe_unused]] Pointers& pointers) {
    // In braces, so that the pointers are counted from left to right.
    std::tuple<Argument<std::remove_cv_t<std::remove_reference_t<Types>>>...> arguments{
        Argument<std::remove_cv_t<std::remove_reference_t<Types>>>(eFill, pointers)...};
    return std::apply(
        [&](auto&... argument) {
            if constexpr (std::is_void_v<Result>) {
                operation(argument.value...);
                return 0LL;
            } else {
                return static_cast<long long>(operation(argument.value...));
            }
        },
        arguments);
}

struct Operation {
    const char* pszName;
    int s32Pointers;
    long long (*run)(Fill eFill, Pointers& pointers);
};

#define OPERATION(name, symbol) \
    {#name, pointersOf(name), [](Fill eFill, Pointers& pointers) { return call(name, eFill, pointers); }},
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
        a_vextvfapi_net_init();
    }

    static void runAll(Fill eFill) {
        for (const Operation& operation : kOperations) {
            SCOPED_TRACE(operation.pszName);
            // This operation has no arguments, and waits until another program opens the pipe for writing.
            if (std::strcmp(operation.pszName, "_a_vextvfapi_prphrl_create_pipe_file") == 0) {
                continue;
            }
            Pointers pointers(Pointers::kAll);
            EXPECT_LT(test::secondsOf([&] { operation.run(eFill, pointers); }), test::patient(20));
        }
        // The set goes on.
        bringUp();
        unsigned int u32Version = 0;
        EXPECT_EQ(a_vextvfapi_disp_switch_window(u32Version), 0);
    }

private:
    int _s32Threads = 0;
};

class AllArgumentsAtTheirEnds : public AllArguments, public ::testing::WithParamInterface<Fill> {};

TEST_P(AllArgumentsAtTheirEnds, AnswerAStatus) {
    runAll(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Ends, AllArgumentsAtTheirEnds,
                         ::testing::Values(Fill::zero, Fill::allOnes, Fill::largest, Fill::smallest));

// What operations answer without one of their pointers, if it is not -1 alone. 0 of those that do not use it, may leave
// an output out, have nothing to write, or fail with 0.
const std::map<long long, std::set<std::string>> kStatusOfNull = {
    {-2,
     {"_a_vextvfapi_inpsrc_get_video_standard",
      "_a_vextvfapi_sys_get_env_var",
      "_a_vextvfapi_sys_set_env_var",
      "a_vextvfapi_aud_set_volume_table",
      "a_vextvfapi_common_get_fapi_version",
      "a_vextvfapi_disp_upgrade_tarn_fw",
      "a_vextvfapi_disptst_set_burning_mode_adv",
      "a_vextvfapi_info_get_ini_para",
      "a_vextvfapi_info_set_ini_para",
      "a_vextvfapi_inpsrc_get_video_standard",
      "a_vextvfapi_net_set_interface_updown",
      "a_vextvfapi_net_set_mac",
      "a_vextvfapi_prphrl_get_hdmi_edid_version",
      "a_vextvfapi_prphrl_get_rc_format",
      "a_vextvfapi_sys_get_emmc_env_var",
      "a_vextvfapi_sys_read_emmc",
      "a_vextvfapi_sys_send_cmd_to_factory_svc",
      "a_vextvfapi_sys_set_emmc_env_var",
      "a_vextvfapi_sys_upgrade_fw",
      "a_vextvfapi_sys_write_emmc"}},
    {-1,
     {"a_vextvfapi_aud_set_volume_table", "a_vextvfapi_disp_panel_get_attr", "a_vextvfapi_prphrl_get_iic_slave_address",
      "a_vextvfapi_prphrl_set_hdmi_edid_data"}},
    {0,
     {"_a_vextvfapi_disp_get_disp_handle", "_a_vextvfapi_disp_get_disp_handle_by_win_idx",
      "_a_vextvfapi_disp_get_on_screen_input", "_a_vextvfapi_prphrl_sar_key_callback", "_a_vextvfapi_prphrl_uartOpen",
      "a_vextvfapi_disp_panel_get_attr", "a_vextvfapi_info_get_ini_para", "a_vextvfapi_prphrl_get_iic_slave_address",
      "a_vextvfapi_prphrl_get_rc_format", "a_vextvfapi_prphrl_set_hdmi_edid_data",
      "a_vextvfapi_prphrl_set_uart_pipe_mode", "a_vextvfapi_prphrl_write_factory_uart", "a_vextvfapi_sys_get_rtc_time",
      "a_vextvfapi_sys_update_panel"}},
    {3, {"_a_vextvfapi_prphrl_sar_key_callback"}},
    {255, {"_a_vextvfapi_output_bmp_file", "_bytes_to_bool", "_bytes_to_one_byte_enum", "a_vextvfapi_net_open"}},
    {65535, {"_bytes_to_short"}},
};

bool mayAnswer(const std::string& strOperation, long long s64Status) {
    const auto lists = [&](const auto& row) { return row.second.count(strOperation) != 0; };
    const auto row = kStatusOfNull.find(s64Status);
    return (row != kStatusOfNull.end() && lists(*row)) ||
           (s64Status == -1 && std::none_of(kStatusOfNull.begin(), kStatusOfNull.end(), lists));
}

// Operations whose null the chip refuses, or whose question to the chip has one in it.
const std::set<std::string> kAskTheChip = {"a_vextvfapi_aud_set_volume_table", "a_vextvfapi_disp_upgrade_tarn_fw",
                                           "a_vextvfapi_info_get_ini_para",    "a_vextvfapi_prphrl_get_rc_format",
                                           "a_vextvfapi_prphrl_pwm_get_attr",  "a_vextvfapi_prphrl_set_hdmi_edid_data"};

TEST_F(AllArguments, OneNullAtATime) {
    for (const Operation& operation : kOperations) {
        bringUp();  // an operation before may have ended its module
        for (int s32Null = 0; s32Null < operation.s32Pointers; ++s32Null) {
            for (const Fill eFill : {Fill::zero, Fill::one, Fill::aFew}) {
                SCOPED_TRACE(std::string(operation.pszName) + " without pointer " + std::to_string(s32Null));
                write(kText, "one\ntwo\n");
                const std::uint64_t u64Before = vset::refusalCount();
                Pointers pointers(s32Null);
                const long long s64Status = operation.run(eFill, pointers);
                EXPECT_TRUE(mayAnswer(operation.pszName, s64Status)) << s64Status;
                for (const vset::Refusal& refusal : vset::refusals(u64Before)) {
                    EXPECT_TRUE(refusal.strArguments.find("null") == std::string::npos ||
                                kAskTheChip.count(operation.pszName) != 0)
                        << refusal.strCall << " gets " << refusal.strArguments;
                }
            }
        }
    }
}

TEST_F(AllArguments, WithTheLogOn) {
    test::logOf([] { runAll(Fill::zero); });
    test::logOf([] { runAll(Fill::allOnes); });
}

}  // namespace
