// SPDX-License-Identifier: Apache-2.0
// How families are brought up, their instances found, opened, held by the player and closed; and hands without a set.
#include <algorithm>
#include <cstring>
#include <functional>
#include <set>

#include <gmock/gmock.h>

#include "hw3/hw_aout.h"
#include "hw3/hw_audio.h"
#include "hw3/hw_cap.h"
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
#include "hw3/hw_osd.h"
#include "hw3/hw_pm.h"
#include "hw3/hw_pwm.h"
#include "hw3/hw_sar.h"
#include "hw3/hw_tuner.h"
#include "hw3/hw_uart.h"
#include "hw3/hw_video.h"
#include "hw3/hw_wdt.h"
#include "support/middleware_calls.h"
#include "support/refusals.h"
#include "vset/aout.h"
#include "vset/cap.h"
#include "vset/cec.h"
#include "vset/disp.h"
#include "vset/dispout.h"
#include "vset/dval.h"
#include "vset/extin.h"
#include "vset/factory_daemon.h"
#include "vset/flash.h"
#include "vset/gpio.h"
#include "vset/iic.h"
#include "vset/net.h"
#include "vset/osd.h"
#include "vset/panel.h"
#include "vset/pm.h"
#include "vset/pwm.h"
#include "vset/sar.h"
#include "vset/sys.h"
#include "vset/tuner.h"
#include "vset/uart.h"
#include "vset/wdt.h"

namespace {

using test::errorOf;
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

class VsetInstances : public test::RunningTest {
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
    vset::powerCycle();
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
            EXPECT_EQ(vset::journal().back().strArguments, "params=null");
            EXPECT_EQ(acquire(&family.u32Key, nullptr), HW_ERR_INVALID_PARAMETER);
        }
        EXPECT_EQ(family.open(&family.u32Key, &hHandle), HW_OK);
    }
    EXPECT_EQ(hUntouched, kUntouched);
}

TEST_F(VsetInstances, AreOpenOnceAndClosedOnce) {
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
        for (const auto& act : {family.hold, family.release}) {
            // A family of one has no number.
            EXPECT_TRUE(family.u32Key == 0 || errorOf([&] { act(family.u32Outside); }).find(": there are only ") < 40);
        }
    }
}

// Calls the functions, with nothing but a handle, by all that are not of their kind.
template <class... Functions>
void expectForeign(const std::string& strKind, const Functions&... functions) {
    std::vector<vset::OpenHandle> handles = vset::openHandles();
    handles.push_back({"none", 0, HW_HANDLE_NONE, false});
    handles.push_back({"never given out", 0, 1, false});
    for (const vset::OpenHandle& stHandle : handles) {
        int s32Function = 0;
        const auto call = [&](const auto& function) {
            EXPECT_EQ(function(stHandle.u32Handle), HW_ERR_INVALID_HANDLE)
                << "function " << s32Function << " of " << strKind << " by the handle of " << stHandle.strFamily;
            ++s32Function;
        };
        stHandle.strFamily != strKind ? (call(functions), ...) : void();
    }
}

// Returns the function with zeros and null for everything but its handle.
template <class... Others>
auto by(HW_Result_t (*pFunction)(HW_Handle_t, Others...)) {
    return [=](HW_Handle_t hHandle) { return pFunction(hHandle, Others{}...); };
}

// Calls the functions by a handle of their kind, with null where a record or an output belongs.
template <class... Functions>
void expectNoNull(const std::string& strKind, const Functions&... functions) {
    const std::vector<vset::OpenHandle> handles = vset::openHandles();
    const auto own =
        std::find_if(handles.begin(), handles.end(), [&](const auto& h) { return h.strFamily == strKind; });
    ASSERT_NE(own, handles.end()) << strKind;
    EXPECT_THAT((std::vector<HW_Result_t>{functions(own->u32Handle)...}), testing::Each(HW_ERR_INVALID_PARAMETER))
        << strKind;
}

TEST_F(VsetInstances, AreUsedByHandlesOfTheirKindAndWithoutNull) {
    HW_Handle_t hHandle = HW_HANDLE_NONE;
    for (const Family& family : families()) {
        bringUp(family);
        EXPECT_EQ(family.open(&family.u32Key, &hHandle), HW_OK);
    }
    EXPECT_EQ(test::init(HW_NET_Init), HW_OK);
    EXPECT_EQ(test::init(HW_WDT_Init), HW_OK);
    test::handleOf(HW_NET_Open, {"eth0"});
    test::handleOf(HW_CAP_Open, {});
    EXPECT_EQ(HW_SYS_OpenConfigFile(test::u8("/vendor/factory/config/ir.ini"), &hHandle), HW_OK);
    expectNoNull("HW_CAP", by(HW_CAP_CaptureOne));
    expectNoNull("HW_EXTIN", by(HW_EXTIN_GetSignalStatus));
    expectNoNull("HW_FLASH", by(HW_FLASH_LoadEnv), by(HW_FLASH_StoreEnv), by(HW_FLASH_GetEnvVar),
                 by(HW_FLASH_SetEnvVar), by(HW_FLASH_Read), by(HW_FLASH_Write));
    expectNoNull("HW_DISP", by(HW_DISP_GetConnectedNum), by(HW_DISP_GetConnected), by(HW_DISP_GetDispRect),
                 by(HW_DISP_SetInputRect));
    expectNoNull("HW_GPIO", by(HW_GPIO_GetInput));
    expectNoNull("HW_IIC", by(HW_IIC_Read), by(HW_IIC_Write));
    expectNoNull("HW_NET", by(HW_NET_SetMac));
    expectNoNull("HW_OSD", by(HW_OSD_LayerGetSize), by(HW_OSD_LayerQueryWindowHandle), by(HW_OSD_LayerSetColorMatrix));
    expectNoNull("HW_OSD_WINDOW", by(HW_OSD_WindowGetSurface));
    expectNoNull("HW_OSD_SURFACE", by(HW_OSD_SurfaceGetColorFormat), by(HW_OSD_SurfaceLock), by(HW_OSD_SurfaceGetSize));
    expectNoNull("HW_PM", by(HW_PM_GetRtcTime));
    expectNoNull("HW_SYS", by(HW_SYS_GetConfigData), by(HW_SYS_SetConfigData));
    expectNoNull("HW_TUNER", by(HW_TUNER_GetBer));
    expectNoNull("HW_UART", by(HW_UART_RegisterCallback), by(HW_UART_UnRegisterCallback), by(HW_UART_Write));
    expectNoNull("HW_WDT", by(HW_WDT_SetAttr), by(HW_WDT_GetAttr));

    expectForeign("HW_AOUT", by(HW_AOUT_Close), by(HW_AOUT_SetAttr), by(HW_AOUT_GetAttr), by(HW_AOUT_SetDelay),
                  by(HW_AOUT_GetDelay), by(HW_AOUT_SetVolume), by(HW_AOUT_GetVolume), by(HW_AOUT_LoadAqParams));
    expectForeign("HW_CAP", by(HW_CAP_Close), by(HW_CAP_ConnectInput), by(HW_CAP_DisconnectInput),
                  by(HW_CAP_CaptureOne));
    expectForeign("HW_CEC", by(HW_CEC_Close), by(HW_CEC_Enable), by(HW_CEC_Disable), by(HW_CEC_GetAttr));
    expectForeign("HW_DISP", by(HW_DISP_Close), by(HW_DISP_GetConnectedNum), by(HW_DISP_GetConnected),
                  by(HW_DISP_GetDispRect), by(HW_DISP_SetInputRect), by(HW_DISP_SetAttr), by(HW_DISP_SetPictureParam),
                  by(HW_DISP_GetPictureParam), by(HW_DISP_SetMute), by(HW_DISP_SetUnMute), by(HW_DISP_ApplySetting));
    expectForeign("HW_DISP_CONTROLLER", by(HW_DISP_CloseController), by(HW_DISP_SetControlAttr),
                  by(HW_DISP_SetOutputTiming));
    expectForeign("HW_DISPOUT", by(HW_DISPOUT_Close), by(HW_DISPOUT_PanelSetAttr), by(HW_DISPOUT_PanelGetAttr));
    expectForeign("HW_EXTIN", by(HW_EXTIN_Close), by(HW_EXTIN_SetAttr), by(HW_EXTIN_GetAttr),
                  by(HW_EXTIN_AutoGainOffset), by(HW_EXTIN_DetectTvSystem), by(HW_EXTIN_GetSignalStatus),
                  by(HW_EXTIN_FactorySetAttr), by(HW_EXTIN_FactoryGetAttr));
    expectForeign("HW_FLASH", by(HW_FLASH_Close), by(HW_FLASH_LoadEnv), by(HW_FLASH_StoreEnv), by(HW_FLASH_GetEnvVar),
                  by(HW_FLASH_SetEnvVar), by(HW_FLASH_Read), by(HW_FLASH_Write));
    expectForeign("HW_GPIO", by(HW_GPIO_Close), by(HW_GPIO_SetOutput), by(HW_GPIO_GetInput));
    expectForeign("HW_IIC", by(HW_IIC_Close), by(HW_IIC_Read), by(HW_IIC_Write));
    expectForeign("HW_NET", by(HW_NET_Close), by(HW_NET_DhcpOff), by(HW_NET_DhcpOn), by(HW_NET_SetMac),
                  by(HW_NET_DeviceUp), by(HW_NET_DeviceDown));
    expectForeign("HW_OSD", by(HW_OSD_LayerDestroy), by(HW_OSD_LayerShow), by(HW_OSD_LayerHide),
                  by(HW_OSD_LayerGetSize), by(HW_OSD_LayerQueryWindowHandle), by(HW_OSD_LayerSetColorMatrix));
    expectForeign("HW_OSD_WINDOW", by(HW_OSD_WindowSetZOrder), by(HW_OSD_WindowShow), by(HW_OSD_WindowHide),
                  by(HW_OSD_WindowFlipByExternSurface), by(HW_OSD_WindowGetSurface));
    expectForeign("HW_OSD_SURFACE", by(HW_OSD_SurfaceDestroy), by(HW_OSD_SurfaceGetColorFormat), by(HW_OSD_SurfaceLock),
                  by(HW_OSD_SurfaceUnlock), by(HW_OSD_SurfaceGetSize));
    expectForeign("HW_PM", by(HW_PM_Close), by(HW_PM_GetRtcTime), by(HW_PM_SetAttr));
    expectForeign("HW_PWM", by(HW_PWM_Close), by(HW_PWM_SetAttr), by(HW_PWM_GetAttr));
    expectForeign("HW_SAR", by(HW_SAR_ConfigMode), by(HW_SAR_SetVoltageLevel), by(HW_SAR_AdcGetValue),
                  by(HW_SAR_RegisterCallback), by(HW_SAR_UnRegisterCallback));
    expectForeign("HW_SYS", by(HW_SYS_CloseConfigFile));
    expectForeign("HW_TUNER", by(HW_TUNER_GetAttr), by(HW_TUNER_FactoryCmdGetAttr), by(HW_TUNER_GetLock),
                  by(HW_TUNER_GetBer));
    expectForeign("HW_UART", by(HW_UART_Close), by(HW_UART_RegisterCallback), by(HW_UART_UnRegisterCallback),
                  by(HW_UART_SetBaudrate), by(HW_UART_Write), by(HW_UART_PutChar));
    expectForeign("HW_VIDEO", by(HW_VIDEO_GetAttr));
    expectForeign("HW_WDT", by(HW_WDT_SetAttr), by(HW_WDT_GetAttr));
}

template <class Result, class... Arguments>
std::function<void()> withBlanks(Result (*pAction)(Arguments...)) {
    return [=] { static_cast<void>(pAction(std::decay_t<Arguments>{}...)); };
}

// Calls actions of the control API with blank arguments.
template <class... Actions>
void expectNoSet(const char* pszFamily, Actions... actions) {
    for (const std::function<void()>& action : {withBlanks(actions)...}) {
        EXPECT_EQ(errorOf(action), "no set is attached") << pszFamily;
    }
}

TEST_F(VsetInstances, HaveNoHandsWithoutASet) {
    using namespace vset;
    detach();
    expectNoSet("aout", aout::path, aout::setVolumeTableLength, aout::hold, aout::release, aout::setBlocked,
                aout::sound, aout::describeAll);
    expectNoSet("cap", cap::unit, cap::lastPicture, cap::hold, cap::release);
    expectNoSet("cec", cec::state, cec::setEnabled, cec::setEarcStatus, cec::hold, cec::release);
    expectNoSet("disp", disp::window, disp::setRectangle, disp::hold, disp::release, disp::connectVideo,
                disp::disconnectVideo, disp::connectInput, disp::setModuleCount, disp::disconnectInput, disp::picture,
                disp::freezeVideo, disp::setPqVersion, disp::setPqRange, disp::controller, disp::holdController,
                disp::releaseController, disp::setTimingSupported);
    expectNoSet("dispout", dispout::output, dispout::hold, dispout::release, dispout::attribute, dispout::setAttribute);
    expectNoSet("dval", dval::drivers);
    expectNoSet("extin", extin::inputCount, extin::setInputCount, extin::plug, extin::unplug, extin::input, extin::hold,
                extin::release, extin::edid, extin::setEdid, extin::hdmi, extin::reportEdidVersion, extin::calibration,
                extin::setCalibration, extin::automaticCalibrations, extin::decoderParameter,
                extin::setDecoderParameter);
    expectNoSet("factory_daemon", factory_daemon::start);
    expectNoSet("flash", flash::hold, flash::release, flash::environment,
                static_cast<std::map<std::string, std::uint64_t> (*)()>(flash::partitions), flash::setPartition);
    expectNoSet("gpio", gpio::pad, gpio::drive, gpio::play, gpio::setInverted, gpio::setBroken, gpio::hold,
                gpio::release);
    expectNoSet("iic", iic::devices, iic::addDevice, iic::removeDevice, iic::memory, iic::setMemory, iic::deviceTable,
                iic::setTableEntry, iic::transfers, iic::clearTransfers, iic::debugLevel, iic::hold, iic::release);
    expectNoSet("net", net::interfaces, net::setInterfaces, net::hold, net::release, net::setReportedCount);
    expectNoSet("osd", osd::layer, osd::removeLayer, osd::surfaces, osd::surfacePicture, osd::setSurfaceAlignment);
    expectNoSet("panel", panel::look);
    expectNoSet("pm", pm::leds, pm::ledHistory, pm::clearLedHistory, pm::clock, pm::setClock, pm::hold, pm::release);
    expectNoSet("pwm", pwm::value, pwm::setValue, pwm::hold, pwm::release);
    expectNoSet("sar", sar::voltage, sar::setVoltage, sar::press, sar::pressCode, sar::keypad, sar::channel, sar::hold,
                sar::release);
    expectNoSet("sys", sys::customerHash, sys::setCustomerHash, sys::dataIndexPath, sys::setDataIndexPath,
                sys::clockSpread, sys::flashedFirmware, sys::readRegister, sys::writtenRegisters, sys::writeRegister,
                sys::memoryMap, sys::resizeRegion, sys::setIommuMemory);
    expectNoSet("tuner", tuner::slotCount, tuner::setSlotCount, tuner::slot, tuner::lock, tuner::unlock, tuner::setBer,
                tuner::hold, tuner::release, tuner::attributeText, tuner::setAttributeText, tuner::factoryText,
                tuner::setFactoryText);
    expectNoSet("uart", uart::type, uart::sent, uart::clearSent, uart::port, uart::isCrossed, uart::hold, uart::release,
                uart::hangUp);
    expectNoSet("wdt", wdt::state, wdt::setRebooted, wdt::setPresent);
}

}  // namespace
