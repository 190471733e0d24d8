// SPDX-License-Identifier: Apache-2.0
// Makes the library a faulty one: this object is loaded between library and middleware, and alters, repeats or omits
// calls. The environment's FAPI_FAULTY names the fault: "omit" with a function, or one of the names below.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

#include <dlfcn.h>

#include "dval/dvvdo.h"
#include "hw3/hw_aout.h"
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
#include "hw3/hw_os.h"
#include "hw3/hw_osd.h"
#include "hw3/hw_pm.h"
#include "hw3/hw_pwm.h"
#include "hw3/hw_sar.h"
#include "hw3/hw_sys.h"
#include "hw3/hw_tuner.h"
#include "hw3/hw_uart.h"
#include "hw3/hw_wdt.h"

namespace {

// Returns whether the library is to have this fault.
bool isFaulty(const std::string& fault) {
    const char* const wanted = std::getenv("FAPI_FAULTY");
    return wanted != nullptr && fault == wanted;
}

// Puts a wrong value in place of one that the library has given, when it is to have this fault.
template <class Value, class Wrong>
void alter(const char* fault, Value& value, Wrong wrong) {
    if (isFaulty(fault)) {
        value = (Value)wrong;
    }
}

// The middleware's function of a name. A call that is omitted answers success.
template <class Function>
struct Next {
    const char* name;

    template <class... Arguments>
    auto operator()(Arguments... arguments) const {
        const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
        using Result = decltype(next(arguments...));
        return isFaulty(std::string("omit ") + name) ? Result{} : next(arguments...);
    }
};
#define NEXT(function) (Next<decltype(&(function))>{#function})

// The handle of the window that is to be hidden after its layer.
HW_Handle_t lateWindow = HW_HANDLE_NONE;

}  // namespace

// --- Omitted calls ---------------------------------------------------------------------------------------------------
#define OMITTED(function, First)        \
    HW_Result_t function(First first) { \
        return NEXT(function)(first);   \
    }
#define OMITTED2(function, First, Second)              \
    HW_Result_t function(First first, Second second) { \
        return NEXT(function)(first, second);          \
    }
OMITTED2(HW_CAP_DisconnectInput, HW_Handle_t, HW_Handle_t)
OMITTED(HW_DISP_ApplySetting, HW_Handle_t)
OMITTED(HW_FS_Init, const HW_FS_InitParams_t*)
OMITTED(HW_IR_Init, const HW_IR_InitParams_t*)
OMITTED(HW_OS_FreeIommuMemory, const HW_OS_IommuRelease_t*)
OMITTED(HW_OSD_Init, const HW_OSD_InitParams_t*)
OMITTED(HW_OSD_SurfaceUnlock, HW_Handle_t)
OMITTED2(HW_OSD_WindowSetZOrder, HW_Handle_t, HW_U32)
OMITTED(HW_PM_Init, const HW_PM_InitParams_t*)
OMITTED(HW_PWM_Close, HW_Handle_t)
OMITTED2(HW_SAR_ConfigMode, HW_Handle_t, HW_U32)

HW_S32 HW_FS_Sync() {
    return NEXT(HW_FS_Sync)();
}

HW_U32 HW_TUNER_FactoryCmdApplyVif(HW_Handle_t hTuner, HW_U32 u32Step) {
    return isFaulty("vif-step1-only") && u32Step != 1 ? 1 : NEXT(HW_TUNER_FactoryCmdApplyVif)(hTuner, u32Step);
}

// --- Handles ---------------------------------------------------------------------------------------------------------
// A handle is closed as one of another family, and once too often.
#define CLOSED(function)                                   \
    HW_Result_t function(HW_Handle_t handle) {             \
        if (isFaulty("close-as-other")) {                  \
            static_cast<void>(NEXT(HW_PWM_Close)(handle)); \
        }                                                  \
        const HW_Result_t result = NEXT(function)(handle); \
        if (isFaulty("double-close")) {                    \
            static_cast<void>(NEXT(function)(handle));     \
        }                                                  \
        return result;                                     \
    }
CLOSED(HW_AOUT_Close)
CLOSED(HW_CAP_Close)
CLOSED(HW_CEC_Close)
CLOSED(HW_DISP_Close)
CLOSED(HW_DISPOUT_Close)
CLOSED(HW_EXTIN_Close)
CLOSED(HW_FLASH_Close)
CLOSED(HW_GPIO_Close)
CLOSED(HW_IIC_Close)
CLOSED(HW_NET_Close)
CLOSED(HW_OSD_LayerDestroy)
CLOSED(HW_OSD_SurfaceDestroy)
CLOSED(HW_PM_Close)
CLOSED(HW_SYS_CloseConfigFile)
CLOSED(HW_UART_Close)

HW_Result_t HW_DISPOUT_PanelSetAttr(HW_Handle_t hDispout, HW_U32 u32Attr, const void* pParam) {
    const HW_Result_t result = NEXT(HW_DISPOUT_PanelSetAttr)(hDispout, u32Attr, pParam);
    if (isFaulty("close-players-output")) {
        static_cast<void>(NEXT(HW_DISPOUT_Close)(hDispout));
    }
    return result;
}

HW_Result_t HW_DISP_SetOutputTiming(HW_Handle_t hController, HW_U32 u32Timing) {
    const HW_Result_t result = NEXT(HW_DISP_SetOutputTiming)(hController, u32Timing);
    if (isFaulty("close-players-controller")) {
        static_cast<void>(NEXT(HW_DISP_CloseController)(hController));
    }
    return result;
}

// --- Attributes that are read ----------------------------------------------------------------------------------------
#define READ(function)                                                                            \
    HW_Result_t function(HW_Handle_t handle, HW_U32 u32Attr, const void* pInput, void* pOutput) { \
        alter("read-input", pInput, 0x1234ul);                                                    \
        return NEXT(function)(handle, u32Attr, pInput, pOutput);                                  \
    }
READ(HW_CEC_GetAttr)
READ(HW_DISPOUT_PanelGetAttr)
READ(HW_EXTIN_GetAttr)
READ(HW_TUNER_GetAttr)

HW_Result_t HW_WDT_GetAttr(HW_Handle_t hWdt, HW_U32 u32Attr, const void* pInput, void* pOutput) {
    if (u32Attr == E_HW_WDT_ATTR_RUNNING) {
        alter("wdt-attribute", u32Attr, E_HW_WDT_ATTR_SET_TIMER_SEC);
    }
    alter("read-input", pInput, 0x1234ul);
    return NEXT(HW_WDT_GetAttr)(hWdt, u32Attr, pInput, pOutput);
}

// --- Board -----------------------------------------------------------------------------------------------------------
HW_Result_t HW_FLASH_GetHandle(const HW_FLASH_HandleParams_t* pstParams, HW_Handle_t* phFlash) {
    HW_FLASH_HandleParams_t params = *pstParams;
    if (isFaulty("flash-name")) {
        std::memset(params.au8Name, 0xCC, sizeof(params.au8Name));
    }
    return NEXT(HW_FLASH_GetHandle)(&params, phFlash);
}

HW_Result_t HW_IIC_Read(HW_Handle_t hIic, const HW_IIC_ReadParams_t* pstParams, HW_U8** /*ppu8Buf*/) {
    // The library gives the address of the record's own member as third argument.
    HW_IIC_ReadParams_t params = *pstParams;
    HW_U8* buffer = params.pu8Buf;
    alter("iic-mode", params.eReadMode, E_HW_IIC_READ_MODE_1);
    alter("iic-buffer", params.pu8Buf, 1ul);
    return NEXT(HW_IIC_Read)(hIic, &params, isFaulty("iic-buffer") ? &buffer : &params.pu8Buf);
}

HW_Result_t HW_SAR_Open(const HW_SAR_OpenParams_t* pstParams, HW_Handle_t* phSar) {
    HW_SAR_OpenParams_t params = *pstParams;
    HW_SAR_KeypadConfig_t config = {};
    if (params.pstKeypadConfig != nullptr) {
        config = *params.pstKeypadConfig;
        alter("sar-bounds", config.u8FirstBound, config.u8SecondBound);
        alter("sar-thresholds", config.au8KeyThreshold[0], config.au8KeyThreshold[1]);
        params.pstKeypadConfig = &config;
    }
    return NEXT(HW_SAR_Open)(&params, phSar);
}

#define UNREGISTERED(function, Record)                                  \
    HW_Result_t function(HW_Handle_t handle, const Record* pstParams) { \
        Record params = *pstParams;                                     \
        alter("unregister-function", params.pfnCallback, 1ul);          \
        alter("unregister-mask", params.u32EventMask, ~0u);             \
        alter("unregister-reserved", params.u32Reserved, 0xBAD);        \
        return NEXT(function)(handle, &params);                         \
    }
UNREGISTERED(HW_SAR_UnRegisterCallback, HW_SAR_CallbackParams_t)
UNREGISTERED(HW_UART_UnRegisterCallback, HW_UART_CallbackParams_t)

HW_Result_t HW_SYS_GetConfigData(HW_Handle_t hConfig, const HW_U8* pu8Key, HW_SYS_ConfigData_t* pstData) {
    std::string key = reinterpret_cast<const char*>(pu8Key);
    if (isFaulty("ini-capitals")) {
        std::transform(key.begin(), key.end(), key.begin(), [](char letter) { return std::toupper(letter); });
    }
    alter("config-length", pstData->u32Length, ~0u);
    alter("config-data", pstData->pu8Data, 1ul);
    return NEXT(HW_SYS_GetConfigData)(hConfig, reinterpret_cast<const HW_U8*>(key.c_str()), pstData);
}

HW_Result_t HW_UART_SetBaudrate(HW_Handle_t hUart, HW_U32 u32BaudRate) {
    alter("wrong-baud", u32BaudRate, E_HW_UART_BAUD_19200);
    return NEXT(HW_UART_SetBaudrate)(hUart, u32BaudRate);
}

// --- Inputs, sound ---------------------------------------------------------------------------------------------------
HW_Result_t HW_EXTIN_SetAttr(HW_Handle_t hExtin, HW_U32 u32Attr, const void* pParam) {
    if (u32Attr != E_HW_EXTIN_ATTR_HDMI_HPD) {
        return NEXT(HW_EXTIN_SetAttr)(hExtin, u32Attr, pParam);
    }
    HW_EXTIN_HdmiHpd_t hpd = *static_cast<const HW_EXTIN_HdmiHpd_t*>(pParam);
    alter("hpd-level", hpd.u8Level, hpd.u8Level ^ 1);
    alter("hpd-flag", hpd.u8Level, 200);
    return NEXT(HW_EXTIN_SetAttr)(hExtin, u32Attr, &hpd);
}

HW_Result_t HW_AOUT_SetAttr(HW_Handle_t hAout, HW_U32 u32Attr, const void* pParam) {
    const HW_U8 bypass = 200;
    if (u32Attr == E_HW_AOUT_ATTR_DTS_BYPASS) {
        alter("bypass-flag", pParam, &bypass);
    }
    return NEXT(HW_AOUT_SetAttr)(hAout, u32Attr, pParam);
}

// --- Display ---------------------------------------------------------------------------------------------------------
HW_Result_t HW_OS_AllocateIommuMemory(HW_OS_IommuRequest_t* pstRequest) {
    alter("iommu-words", pstRequest->u32Word1, 0);
    alter("iommu-words", pstRequest->u32Word0, 0xBAD);
    return NEXT(HW_OS_AllocateIommuMemory)(pstRequest);
}

HW_Result_t HW_OSD_SurfaceQueryCapability(HW_U32 u32Capability, HW_U32 u32ColorFormat, HW_U32* pu32Value) {
    const HW_Result_t result = NEXT(HW_OSD_SurfaceQueryCapability)(u32Capability, u32ColorFormat, pu32Value);
    alter("no-align", *pu32Value, 1);
    return result;
}

HW_Result_t HW_OSD_WindowHide(HW_Handle_t hWindow) {
    alter("layer-first", lateWindow, hWindow);
    return isFaulty("layer-first") ? HW_OK : NEXT(HW_OSD_WindowHide)(hWindow);
}

HW_Result_t HW_OSD_LayerHide(HW_Handle_t hLayer) {
    const HW_Result_t result = NEXT(HW_OSD_LayerHide)(hLayer);
    return lateWindow != HW_HANDLE_NONE ? NEXT(HW_OSD_WindowHide)(lateWindow) : result;
}

HW_Result_t HW_DISP_SetMute(HW_Handle_t hDisp, HW_U32 u32Flags) {
    alter("mute-flag", u32Flags, u32Flags | 1u << 30);
    return NEXT(HW_DISP_SetMute)(hDisp, u32Flags);
}

HW_Result_t HW_DISP_SetInputRect(HW_Handle_t hDisp, const HW_DISP_InputRect_t* pstRect) {
    HW_DISP_InputRect_t rect = *pstRect;
    alter("rect-base", rect.u16BaseWidth, rect.u16Width);
    return NEXT(HW_DISP_SetInputRect)(hDisp, &rect);
}

HW_Result_t HW_DISP_SetPictureParam(HW_Handle_t hDisp, HW_U32 u32Param, const void* pParam) {
    const HW_DISP_Enable_t enable = {200};
    if (u32Param == E_HW_DISP_PICTURE_GAMMA_ENABLE) {
        alter("enable-flag", pParam, &enable);
    }
    return NEXT(HW_DISP_SetPictureParam)(hDisp, u32Param, pParam);
}

HW_Result_t HW_DISP_SetAttr(HW_Handle_t hDisp, HW_U32 u32Attr, const void* pParam) {
    if (u32Attr != E_HW_DISP_ATTR_TEST_PATTERN) {
        return NEXT(HW_DISP_SetAttr)(hDisp, u32Attr, pParam);
    }
    HW_DISP_TestPattern_t pattern = *static_cast<const HW_DISP_TestPattern_t*>(pParam);
    if (pattern.u32Mode == E_HW_DISP_PATTERN_VOP2) {
        alter("sel9-first", pattern.u32Mode, E_HW_DISP_PATTERN_IPMUX);
    }
    alter("pattern-flag", pattern.u32Enable, 200);
    return NEXT(HW_DISP_SetAttr)(hDisp, u32Attr, &pattern);
}

DVAL_Result_t DVVDO_SetOverScan(unsigned int u32Window, const DVVDO_OverScan_t* pstOverScan) {
    DVVDO_OverScan_t overScan = *pstOverScan;
    alter("overscan-sides", overScan.s32Top, overScan.s32Left);
    return NEXT(DVVDO_SetOverScan)(u32Window, &overScan);
}
