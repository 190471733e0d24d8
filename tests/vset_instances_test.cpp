// SPDX-License-Identifier: Apache-2.0
// How families are brought up, and their instances found, opened, held by the player and closed.
#include <cstring>
#include <functional>
#include <set>

#include "hw3/hw_aout.h"
#include "hw3/hw_audio.h"
#include "hw3/hw_cec.h"
#include "hw3/hw_disp.h"
#include "hw3/hw_dispout.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_flash.h"
#include "hw3/hw_fs.h"
#include "hw3/hw_gpio.h"
#include "hw3/hw_iic.h"
#include "hw3/hw_ir.h"
#include "hw3/hw_net.h"
#include "hw3/hw_pm.h"
#include "hw3/hw_pwm.h"
#include "hw3/hw_sar.h"
#include "hw3/hw_sys.h"
#include "hw3/hw_tuner.h"
#include "hw3/hw_uart.h"
#include "support/refusals.h"
#include "support/set_fixture.h"
#include "vset/aout.h"
#include "vset/cec.h"
#include "vset/disp.h"
#include "vset/dispout.h"
#include "vset/extin.h"
#include "vset/flash.h"
#include "vset/gpio.h"
#include "vset/iic.h"
#include "vset/pm.h"
#include "vset/pwm.h"
#include "vset/sar.h"
#include "vset/tuner.h"
#include "vset/uart.h"

namespace {

using test::kUntouched;

// Calls an Init, with a record of such bytes or without one.
using Init = std::function<HW_Result_t(const HW_U8* pu8Reserved)>;

template <class Params>
Init with(HW_Result_t (*pInit)(const Params*)) {
    return [=](const HW_U8* pu8Reserved) {
        Params stParams = {};
        std::memset(&stParams, pu8Reserved != nullptr ? *pu8Reserved : 0, sizeof(stParams));
        return pInit(pu8Reserved != nullptr ? &stParams : nullptr);
    };
}
constexpr HW_U8 kBlank = 0, kRubbish = 1;

class VsetFamilies : public test::MiddlewareTest {};

TEST_F(VsetFamilies, AreBroughtUpAfterTheSystem) {
    const struct {
        const char* pszName;
        Init init;
        bool bDefaults;  // without a record
    } kRows[] = {
        {"HW_AOUT", with(HW_AOUT_Init), false},   {"HW_AUDIO", with(HW_AUDIO_Init), false},
        {"HW_CEC", with(HW_CEC_Init), false},     {"HW_DISPOUT", with(HW_DISPOUT_Init), false},
        {"HW_EXTIN", with(HW_EXTIN_Init), false}, {"HW_FLASH", with(HW_FLASH_Init), false},
        {"HW_IIC", with(HW_IIC_Init), true},      {"HW_IR", with(HW_IR_Init), true},
        {"HW_NET", with(HW_NET_Init), true},      {"HW_PM", with(HW_PM_Init), false},
        {"HW_PWM", with(HW_PWM_Init), false},     {"HW_TUNER", with(HW_TUNER_Init), false},
        {"HW_UART", with(HW_UART_Init), true},
    };
    for (const auto& stRow : kRows) {
        EXPECT_EQ(stRow.init(&kBlank), HW_ERR_NOT_INITED) << stRow.pszName;
    }
    // Files need no system.
    EXPECT_EQ(with(HW_FS_Init)(&kRubbish), HW_ERR_INVALID_PARAMETER);
    EXPECT_EQ(with(HW_FS_Init)(nullptr), HW_ERR_INVALID_PARAMETER);
    EXPECT_EQ(with(HW_FS_Init)(&kBlank), HW_OK);
    ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(stRow.pszName);
        EXPECT_EQ(stRow.init(&kRubbish), HW_ERR_INVALID_PARAMETER);
        EXPECT_FALSE(vset::isInitialised(stRow.pszName));
        EXPECT_EQ(stRow.init(&kBlank), HW_OK);
        EXPECT_TRUE(vset::isInitialised(stRow.pszName));
        EXPECT_EQ(stRow.init(&kBlank), HW_HAS_INITED);
        EXPECT_EQ(stRow.init(nullptr), stRow.bDefaults ? HW_HAS_INITED : HW_ERR_INVALID_PARAMETER);
    }
    EXPECT_THROW(vset::isInitialised("HW_NOTHING"), vset::SetError);
    vset::powerCycle();
    for (const auto& stRow : kRows) {
        EXPECT_FALSE(vset::isInitialised(stRow.pszName)) << stRow.pszName;
    }
}

// A query or open record of the instance with that number, which is the first word of most.
template <class Params>
Params record(HW_U32 u32Key) {
    Params stParams = {};
    std::memcpy(&stParams, &u32Key, sizeof(u32Key));
    return stParams;
}
template <>
HW_EXTIN_HandleParams_t record(HW_U32 u32Key) {
    return {E_HW_EXTIN_TYPE_HDMI, u32Key};
}
template <>
HW_EXTIN_OpenParams_t record(HW_U32 u32Key) {
    return {0, E_HW_EXTIN_TYPE_HDMI, u32Key};
}
template <>
HW_TUNER_OpenParams_t record(HW_U32 u32Key) {
    return {u32Key, 1};
}
template <>
HW_SAR_OpenParams_t record(HW_U32 u32Key) {
    return {E_HW_SAR_MODE_ADC, u32Key, 0, nullptr};
}

// GetHandle or Open, with the number of the instance or without a record.
using Acquire = std::function<HW_Result_t(const HW_U32* pu32Key, HW_Handle_t* phHandle)>;

template <class Params>
Acquire through(HW_Result_t (*pCall)(const Params*, HW_Handle_t*)) {
    return [=](const HW_U32* pu32Key, HW_Handle_t* phHandle) {
        const Params stParams = record<Params>(pu32Key != nullptr ? *pu32Key : 0);
        return pCall(pu32Key != nullptr ? &stParams : nullptr, phHandle);
    };
}
struct Family {
    const char* pszName;
    HW_U32 u32Key, u32Other, u32Outside;  // two instances, and none
    Init init;                            // if it is needed
    Acquire find, open;
    HW_Result_t (*pClose)(HW_Handle_t);  // if it has one
    std::function<void(HW_U32)> hold, release;
    bool bPlayersAtFirst = false;
};

#define ACQUIRE(F) through(HW_##F##_GetHandle), through(HW_##F##_Open)
#define HOLDER(f) vset::f::hold, vset::f::release
#define ONLY_HOLDER(f) [](HW_U32) { vset::f::hold(); }, [](HW_U32) { vset::f::release(); }

std::vector<Family> families() {
    return {
        {"HW_DISP_CONTROLLER", 0, 0, 1, nullptr, through(HW_DISP_GetController), through(HW_DISP_OpenController),
         HW_DISP_CloseController, [](HW_U32) { vset::disp::holdController(); },
         [](HW_U32) { vset::disp::releaseController(); }, true},
        {"HW_DISPOUT", 0, 0, 1, with(HW_DISPOUT_Init), ACQUIRE(DISPOUT), HW_DISPOUT_Close, ONLY_HOLDER(dispout), true},
        {"HW_EXTIN", 3, 2, 4, with(HW_EXTIN_Init), ACQUIRE(EXTIN), HW_EXTIN_Close,
         [](HW_U32 u32Key) { vset::extin::hold(E_HW_EXTIN_TYPE_HDMI, u32Key); },
         [](HW_U32 u32Key) { vset::extin::release(E_HW_EXTIN_TYPE_HDMI, u32Key); }},
        {"HW_AOUT", 8, 0, 9, with(HW_AOUT_Init), ACQUIRE(AOUT), HW_AOUT_Close, HOLDER(aout)},
        {"HW_CEC", 0, 0, 1, with(HW_CEC_Init), ACQUIRE(CEC), HW_CEC_Close, ONLY_HOLDER(cec)},
        {"HW_FLASH", 2, 1, 3, with(HW_FLASH_Init), ACQUIRE(FLASH), HW_FLASH_Close, HOLDER(flash)},
        {"HW_GPIO", 255, 0, 256, nullptr, ACQUIRE(GPIO), HW_GPIO_Close, HOLDER(gpio)},
        {"HW_IIC", 7, 0, 8, with(HW_IIC_Init), ACQUIRE(IIC), HW_IIC_Close, HOLDER(iic)},
        {"HW_PM", 0, 0, 1, nullptr, ACQUIRE(PM), HW_PM_Close, ONLY_HOLDER(pm)},
        {"HW_PWM", 18, 9, 19, with(HW_PWM_Init), ACQUIRE(PWM), HW_PWM_Close, HOLDER(pwm)},
        {"HW_SAR", 7, 0, 8, nullptr, ACQUIRE(SAR), nullptr, HOLDER(sar)},
        {"HW_TUNER", 1, 1, 2, with(HW_TUNER_Init), ACQUIRE(TUNER), nullptr, HOLDER(tuner)},
        {"HW_UART", 4, 0, 5, with(HW_UART_Init), ACQUIRE(UART), HW_UART_Close, HOLDER(uart)},
    };
}

class VsetInstances : public test::MiddlewareTest {
protected:
    // Brings a family up; the player gives away what it has at first.
    static void bringUp(const Family& family) {
        EXPECT_EQ(family.init ? family.init(&kBlank) : HW_OK, HW_OK);
        if (family.bPlayersAtFirst) {
            HW_Handle_t hPlayers = 0;
            EXPECT_EQ(family.open(&family.u32Key, &hPlayers), HW_ERR_BUSY);
            EXPECT_EQ(family.find(&family.u32Key, &hPlayers), HW_OK);
            family.release(family.u32Key);
        }
    }
};

TEST_F(VsetInstances, AreThereAfterTheirFamily) {
    HW_Handle_t hUntouched = kUntouched, hHandle = 0;
    const std::vector<Family> all = families();
    for (const Family& family : all) {
        EXPECT_EQ(family.find(&family.u32Key, &hUntouched), HW_ERR_NOT_INITED) << family.pszName;
        EXPECT_EQ(family.open(&family.u32Key, &hUntouched), HW_ERR_NOT_INITED) << family.pszName;
    }
    ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
    for (const Family& family : all) {
        SCOPED_TRACE(family.pszName);
        if (family.init) {
            EXPECT_EQ(family.find(&family.u32Key, &hUntouched), HW_ERR_NOT_INITED);
            EXPECT_EQ(family.open(&family.u32Key, &hUntouched), HW_ERR_NOT_INITED);
        }
        bringUp(family);
        for (const Acquire& acquire : {family.find, family.open}) {
            EXPECT_EQ(acquire(&family.u32Outside, &hUntouched), HW_ERR_INVALID_PARAMETER);
            EXPECT_EQ(acquire(nullptr, &hUntouched), HW_ERR_INVALID_PARAMETER);
            EXPECT_EQ(acquire(&family.u32Key, nullptr), HW_ERR_INVALID_PARAMETER);
        }
        EXPECT_EQ(family.open(&family.u32Key, &hHandle), HW_OK);
    }
    EXPECT_EQ(hUntouched, kUntouched);
}

TEST_F(VsetInstances, AreOpenOnceAndClosedOnce) {
    ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
    std::set<HW_Handle_t> handles;
    for (const Family& family : families()) {
        SCOPED_TRACE(family.pszName);
        bringUp(family);
        for (int i = 0; i < (family.pClose != nullptr ? 2 : 1); ++i) {
            HW_Handle_t hHandle = 0, hFound = 0, hUntouched = kUntouched;
            EXPECT_EQ(family.find(&family.u32Key, &hUntouched), HW_ERR_FAILED);
            ASSERT_EQ(family.open(&family.u32Key, &hHandle), HW_OK);
            EXPECT_EQ(hHandle >> 31, 0u);
            EXPECT_TRUE(handles.insert(hHandle).second) << "an earlier handle";
            EXPECT_EQ(family.open(&family.u32Key, &hUntouched), HW_ERR_BUSY);
            EXPECT_EQ(family.find(&family.u32Key, &hFound), HW_OK);
            EXPECT_EQ(hFound, hHandle);
            EXPECT_THROW(family.hold(family.u32Key), vset::SetError);
            EXPECT_THROW(family.release(family.u32Key), vset::SetError) << "not the player's";
            EXPECT_EQ(hUntouched, kUntouched);
            for (const HW_Handle_t hSome : family.pClose != nullptr ? handles : std::set<HW_Handle_t>()) {
                EXPECT_EQ(family.pClose(hSome), hSome == hHandle ? HW_OK : HW_ERR_INVALID_HANDLE);
            }
        }
    }
    EXPECT_EQ(handles.count(HW_HANDLE_NONE), 0u);
}

TEST_F(VsetInstances, MayBeHeldByThePlayer) {
    ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
    for (const Family& family : families()) {
        SCOPED_TRACE(family.pszName);
        bringUp(family);
        HW_Handle_t hFound = 0, hUntouched = kUntouched;
        family.hold(family.u32Other);
        EXPECT_EQ(family.find(&family.u32Other, &hFound), HW_OK);
        EXPECT_EQ(family.open(&family.u32Other, &hUntouched), HW_ERR_BUSY);
        for (const vset::OpenHandle& stHandle : vset::openHandles()) {
            EXPECT_TRUE(stHandle.u32Handle != hFound || stHandle.bPlayer);
        }
        EXPECT_THROW(family.hold(family.u32Other), vset::SetError);
        if (family.pClose != nullptr) {
            const bool bCloses =
                family.pClose == HW_AOUT_Close || family.pClose == HW_IIC_Close || family.pClose == HW_UART_Close;
            EXPECT_EQ(family.pClose(hFound), bCloses ? HW_OK : HW_ERR_INVALID_HANDLE);
            EXPECT_EQ(test::lastReason(), bCloses ? "closes the player's" : "");
            EXPECT_EQ(family.find(&family.u32Other, &hFound), bCloses ? HW_ERR_FAILED : HW_OK);
            bCloses ? family.hold(family.u32Other) : void();
        }
        family.release(family.u32Other);
        EXPECT_EQ(family.find(&family.u32Other, &hUntouched), HW_ERR_FAILED);
        EXPECT_THROW(family.release(family.u32Other), vset::SetError);
        EXPECT_EQ(hUntouched, kUntouched);
    }
    vset::detach();
    for (const Family& family : families()) {
        EXPECT_THROW(family.hold(family.u32Key), vset::SetError) << "without a set";
    }
}

}  // namespace
