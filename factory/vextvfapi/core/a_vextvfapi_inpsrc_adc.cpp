// SPDX-License-Identifier: Apache-2.0
// Calibration of the analog inputs' converters.
#define FAPI_LOG_TAG "VexTvFApiInputSource"
#include <cstring>

#include "a_vextvfapi_inpsrc.h"
#include "base/fapi_log.h"
#include "hw3/hw_extin.h"

namespace {

enum Device : unsigned int { vga = 0, ypbpr = 1, scart = 2 };

// An analog input, for one operation.
struct AnalogInput {
    Device eDevice;
    HW_Handle_t hExtin;
    bool bOpened;
};

}  // namespace

static HW_Result_t findInput(HW_EXTIN_Type_e eType, HW_Handle_t* phExtin) {
    HW_EXTIN_HandleParams_t stQuery = {};
    stQuery.u32Type = eType;
    return HW_EXTIN_GetHandle(&stQuery, phExtin);
}

static HW_Result_t openInput(HW_EXTIN_Type_e eType, HW_U32 u32OpenValue, HW_Handle_t* phExtin) {
    HW_EXTIN_OpenParams_t stParams = {};
    stParams.u32OpenValue = u32OpenValue;
    stParams.u32Type = eType;
    return HW_EXTIN_Open(&stParams, phExtin);
}

// The last handles. Contract: not cleared by a close; an operation that neither finds nor opens the input uses the last
// one.
static HW_Handle_t _hVga;
static HW_Handle_t _hYpbpr;
static HW_Handle_t _hScart;

// --- Finders ---------------------------------------------------------------------------------------------------------
// Contract: their texts differ, and "0x" has no digits.

int _a_vextvfapi_inpsrc_get_vga_handle() {
    if (findInput(E_HW_EXTIN_TYPE_VGA, &_hVga) == HW_OK) {
        FAPI_LOGD("HW_EXTIN_GetVGAHandle success\n\n");
        return 0;
    }
    FAPI_LOGE(FAPI_RED("HW_EXTIN_GetHandle failed.... try to Open handle next!") "\n\n");
    if (openInput(E_HW_EXTIN_TYPE_VGA, 2, &_hVga) != HW_OK) {
        FAPI_LOGE(FAPI_RED("Error 0x: failed to HW_EXTIN_Open!") "\n\n");
        return 0;
    }
    FAPI_LOGD(FAPI_RED("0x: open VGAHandle success!") "\n\n");
    return 1;
}

int _a_vextvfapi_inpsrc_get_ypbpr_handle() {
    if (findInput(E_HW_EXTIN_TYPE_YPBPR, &_hYpbpr) == HW_OK) {
        FAPI_LOGD(FAPI_RED("0x: get YPbprHandle success!") "\n\n");
        return 0;
    }
    if (openInput(E_HW_EXTIN_TYPE_YPBPR, 1, &_hYpbpr) != HW_OK) {
        FAPI_LOGE(FAPI_RED("Error 0x: failed to HW_EXTIN_Open!") "\n\n");
        return 0;
    }
    FAPI_LOGD(FAPI_RED("0x: open YPbpr Handle success!") "\n\n");
    return 1;
}

// Contract: logs under its own name, as the two exported finders do.
static int _a_vextvfapi_inpsrc_get_scart_handle() {
    if (findInput(E_HW_EXTIN_TYPE_SCART, &_hScart) == HW_OK) {
        FAPI_LOGD(FAPI_RED("0x: get ScartHandle success!") "\n\n");
        return 0;
    }
    if (openInput(E_HW_EXTIN_TYPE_SCART, 0, &_hScart) != HW_OK) {
        FAPI_LOGE(FAPI_RED("Error 0x: failed to Open ScartHandle!") "\n\n");
        return 0;
    }
    FAPI_LOGD(FAPI_RED("0x: Open ScartHandle success!") "\n\n");
    return 1;
}

// --- What the operations share ---------------------------------------------------------------------------------------

// Finds an input open, or opens it. False, with a message, without a handle.
static bool obtainInput(unsigned int u32Device, AnalogInput& stInput, const char* pszCaller = __builtin_FUNCTION()) {
    switch (u32Device) {
        case vga: {
            const int s32Opened = _a_vextvfapi_inpsrc_get_vga_handle();
            stInput = {vga, _hVga, s32Opened != 0};
            break;
        }
        case ypbpr: {
            const int s32Opened = _a_vextvfapi_inpsrc_get_ypbpr_handle();
            stInput = {ypbpr, _hYpbpr, s32Opened != 0};
            break;
        }
        default: {
            const int s32Opened = _a_vextvfapi_inpsrc_get_scart_handle();
            stInput = {scart, _hScart, s32Opened != 0};
            break;
        }
    }
    if (stInput.hExtin != HW_HANDLE_NONE) {
        return true;
    }
    switch (stInput.eDevice) {
        case vga:
            FAPI_LOGE_AS(pszCaller, "Get VGA handle failed!\n");
            break;
        case ypbpr:
            FAPI_LOGE_AS(pszCaller, "Get YPbPr handle failed!\n");
            break;
        case scart:
            FAPI_LOGE_AS(pszCaller, "Get Scart handle failed!\n");
            break;
    }
    return false;
}

// Obtains the input for operations on gain, offset and phase, which SCART does not have.
static bool obtainCalibratedInput(unsigned int u32Device, AnalogInput& stInput,
                                  const char* pszCaller = __builtin_FUNCTION()) {
    if (u32Device > ypbpr) {
        FAPI_LOGD_AS(pszCaller, "Invalid Device Type:%d\n\n", u32Device);
        FAPI_LOGD_AS(pszCaller, FAPI_RED("Finished!!!") "\n\n");
        return false;
    }
    return obtainInput(u32Device, stInput, pszCaller);
}

// Closes the input if it was opened here. Returns the status for the operation's result.
static int finish(const AnalogInput& stInput, HW_Result_t callResult, const char* pszCaller = __builtin_FUNCTION()) {
    const HW_Result_t result = stInput.bOpened ? HW_EXTIN_Close(stInput.hExtin) : HW_OK;
    if (result != HW_OK) {
        switch (stInput.eDevice) {
            case vga:
                FAPI_LOGE_AS(pszCaller, FAPI_RED("Error 0x%x: failed to Close VGA handle!") "\n\n", result);
                break;
            case ypbpr:
                FAPI_LOGE_AS(pszCaller, FAPI_RED("Error 0x%x: failed to Close YPbpr handle!") "\n\n", result);
                break;
            case scart:
                FAPI_LOGE_AS(pszCaller, FAPI_RED("Error 0x%x: failed to Close Scart handle!") "\n\n", result);
                break;
        }
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, FAPI_RED("Finished!!!") "\n\n");
    return callResult == HW_OK ? 0 : -1;
}

// --- Phase -----------------------------------------------------------------------------------------------------------

int a_vextvfapi_inpsrc_get_adc_phase(unsigned int devType, fapi_core::VexTvFApiAdcPhase_t* pPhase) {
    AnalogInput stInput;
    if (pPhase == nullptr || !obtainCalibratedInput(devType, stInput)) {
        return -1;
    }
    HW_EXTIN_AdcPhase_t stPhase = {};
    const HW_Result_t result = HW_EXTIN_GetAttr(stInput.hExtin, E_HW_EXTIN_ATTR_ADC_PHASE, nullptr, &stPhase);
    // Contract: after a failure, too, with zeros.
    FAPI_LOGD(" Current ADC R Phase: %u\n\n", stPhase.u32Red);
    FAPI_LOGD(" Current ADC G Phase: %u\n\n", stPhase.u32Green);
    FAPI_LOGD(" Current ADC B Phase: %u\n\n", stPhase.u32Blue);
    if (result == HW_OK) {
        *pPhase = {stPhase.u32Red, stPhase.u32Green, stPhase.u32Blue};
    } else {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to get ADC phase!") "\n\n", result);
    }
    return finish(stInput, result);
}

int a_vextvfapi_inpsrc_set_adc_phase(unsigned int devType, unsigned int rPhase, unsigned int gPhase,
                                     unsigned int bPhase) {
    FAPI_LOGD(" Set ADC R Phase: %u\n\n", rPhase);
    FAPI_LOGD(" Set ADC G Phase: %u\n\n", gPhase);
    FAPI_LOGD(" Set ADC B Phase: %u\n\n", bPhase);
    AnalogInput stInput;
    if (!obtainCalibratedInput(devType, stInput)) {
        return -1;
    }
    const HW_EXTIN_AdcPhase_t stPhase = {rPhase, gPhase, bPhase};
    const HW_Result_t result = HW_EXTIN_SetAttr(stInput.hExtin, E_HW_EXTIN_ATTR_ADC_PHASE, &stPhase);
    if (result != HW_OK) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to set ADC phase!") "\n\n", result);
    }
    return finish(stInput, result);
}

// --- Gain and offset -------------------------------------------------------------------------------------------------

static void logGainOffset(Device eDevice, const HW_EXTIN_AdcGainOffset_t& stValues,
                          const char* pszCaller = __builtin_FUNCTION()) {
    if (eDevice == vga) {
        FAPI_LOGD_AS(pszCaller, " VGA ADC gain offset setting in HW:\n");
    } else {
        FAPI_LOGD_AS(pszCaller, " YPbPr ADC gain offset setting in HW:\n");
    }
    FAPI_LOGD_AS(pszCaller, " Current ADC R_Gain is %u\n\n", stValues.u32RedGain);
    FAPI_LOGD_AS(pszCaller, " Current ADC G_Gain is %u\n\n", stValues.u32GreenGain);
    FAPI_LOGD_AS(pszCaller, " Current ADC B_Gain is %u\n\n", stValues.u32BlueGain);
    FAPI_LOGD_AS(pszCaller, " Current ADC R_Offset is %u\n\n", stValues.u32RedOffset);
    FAPI_LOGD_AS(pszCaller, " Current ADC G_Offset is %u\n\n", stValues.u32GreenOffset);
    FAPI_LOGD_AS(pszCaller, " Current ADC B_Offset is %u\n\n", stValues.u32BlueOffset);
}

int a_vextvfapi_inpsrc_get_adc_gain_offset(unsigned int devType, fapi_core::VexTvFApiAdcGainOffset_t* pGainOffset) {
    AnalogInput stInput;
    if (pGainOffset == nullptr || !obtainCalibratedInput(devType, stInput)) {
        return -1;
    }
    HW_EXTIN_AdcGainOffset_t stValues = {};
    const HW_Result_t result = HW_EXTIN_GetAttr(stInput.hExtin, E_HW_EXTIN_ATTR_ADC_GAIN_OFFSET, nullptr, &stValues);
    logGainOffset(stInput.eDevice, stValues);
    if (result == HW_OK) {
        static_assert(sizeof(*pGainOffset) == sizeof(stValues), "");
        std::memcpy(pGainOffset, &stValues, sizeof(stValues));
    } else {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to get ADC GAIN offset!") "\n\n", result);
    }
    return finish(stInput, result);
}

int a_vextvfapi_inpsrc_set_adc_gain_offset(unsigned int devType, unsigned int rGain, unsigned int gGain,
                                           unsigned int bGain, unsigned int rOffset, unsigned int gOffset,
                                           unsigned int bOffset) {
    FAPI_LOGD(" Set ADC R_Gain is %u\n\n", rGain);
    FAPI_LOGD(" Set ADC G_Gain is %u\n\n", gGain);
    FAPI_LOGD(" Set ADC B_Gain is %u\n\n", bGain);
    FAPI_LOGD(" Set ADC R_Offset is %u\n\n", rOffset);
    FAPI_LOGD(" Set ADC G_Offset is %u\n\n", gOffset);
    FAPI_LOGD(" Set ADC B_Offset is %u\n\n", bOffset);
    AnalogInput stInput;
    if (!obtainCalibratedInput(devType, stInput)) {
        return -1;
    }
    const HW_EXTIN_AdcGainOffset_t stValues = {rGain, gGain, bGain, rOffset, gOffset, bOffset};
    const HW_Result_t result = HW_EXTIN_SetAttr(stInput.hExtin, E_HW_EXTIN_ATTR_ADC_GAIN_OFFSET, &stValues);
    if (result != HW_OK) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to set ADC GAIN offset!") "\n\n", result);
    }
    return finish(stInput, result);
}

// --- Automatic calibration -------------------------------------------------------------------------------------------

int a_vextvfapi_inpsrc_auto_gain_offset(unsigned int devType) {
    FAPI_LOGD("auto_gain_offset u32DevType = %d \n\n", devType);
    if (devType > scart) {
        // Contract: unlike in the other operations an error, without a closing line.
        FAPI_LOGE("Invalid Device Type:%d\n\n", devType);
        return -1;
    }
    AnalogInput stInput;
    if (!obtainInput(devType, stInput)) {
        return -1;
    }
    const HW_Result_t result = HW_EXTIN_AutoGainOffset(stInput.hExtin);
    if (result != HW_OK) {
        switch (stInput.eDevice) {
            case vga:
                FAPI_LOGE(FAPI_RED("Error 0x%x: VGA AutoGainOffset failed!") "\n\n", result);
                break;
            case ypbpr:
                FAPI_LOGE(FAPI_RED("Error 0x%x: YPbPr AutoGainOffset failed!") "\n\n", result);
                break;
            case scart:
                FAPI_LOGE(FAPI_RED("Error 0x%x: Scart AutoGainOffset failed!") "\n\n", result);
                break;
        }
    }
    return finish(stInput, result);
}
