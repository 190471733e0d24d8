// SPDX-License-Identifier: Apache-2.0
// The tuners: intermediate frequency, demodulator, bit error rate. The middleware has no call to close a tuner.
#define FAPI_LOG_TAG "VexTvFApiInputSource"
#include <exception>
#include <string>

#include "a_vextvfapi_inpsrc.h"
#include "base/fapi_log.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_tuner.h"

namespace {

// The fixed code that failure messages print instead of the middleware's (contract).
constexpr int kErrorCode = 3;

constexpr unsigned char kNoExternalInput = E_HW_EXTIN_TYPE_NUM;

// A text of the middleware, and a NUL after it.
struct TunerText {
    char acText[HW_TUNER_TEXT_SIZE + 1] = {};
};

}  // namespace

static HW_Handle_t _hTunerHandle;

static HW_Result_t findTuner() {
    const HW_TUNER_HandleParams_t stQuery = {};
    return HW_TUNER_GetHandle(&stQuery, &_hTunerHandle);
}

// --- Intermediate frequency ------------------------------------------------------------------------------------------

// Applies the parameters in two steps. The middleware returns 0 for a failure.
static bool applyVif(const char* pszCaller = __builtin_FUNCTION()) {
    if (HW_TUNER_FactoryCmdApplyVif(_hTunerHandle, 1) == 0) {
        FAPI_LOGE_AS(pszCaller, FAPI_RED("Error: Apply ChinaDescramblerDelay FAIL!") "\n\n");
        return false;
    }
    if (HW_TUNER_FactoryCmdApplyVif(_hTunerHandle, 0) == 0) {
        FAPI_LOGE_AS(pszCaller, FAPI_RED("Error: Init VIF parameters FAIL!") "\n\n");
        return false;
    }
    return true;
}

int a_vextvfapi_inpsrc_vif_init() {
    if (findTuner() != HW_OK) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_TUNER_GetHandle!") "\n\n", kErrorCode);
        HW_TUNER_OpenParams_t stParams = {};
        stParams.u32Mode = 1;
        if (HW_TUNER_Open(&stParams, &_hTunerHandle) != HW_OK) {
            FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_TUNER_Open!") "\n\n", kErrorCode);
            return -1;
        }
    }
    const bool bApplied = applyVif();
    if (bApplied) {
        FAPI_LOGI(FAPI_RED("Re-init VIF success!") "\n\n");
    } else {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to re-init VIF!") "\n\n", kErrorCode);
    }
    FAPI_LOGD(FAPI_RED("Finished!!!") "\n\n");
    return bApplied ? 0 : -1;
}

// --- Demodulator -----------------------------------------------------------------------------------------------------

static HW_Result_t readTunerAttributes(const char* pszCaller) {
    TunerText name;
    HW_Result_t result = HW_TUNER_GetAttr(_hTunerHandle, E_HW_TUNER_ATTR_TUNER_NAME, nullptr, name.acText);
    FAPI_LOGD_AS(pszCaller, "HW_TUNER_GetAttr tuner name:%s\n", name.acText);
    TunerText streams;
    result |= HW_TUNER_GetAttr(_hTunerHandle, E_HW_TUNER_ATTR_TS_STREAMS_NUM, nullptr, streams.acText);
    FAPI_LOGD_AS(pszCaller, "HW_TUNER_GetAttr TS_STREAMS_NUM:%s\n", streams.acText);
    return result;
}

// Reads the four texts, and throws when there is no memory for them.
static HW_Result_t readDemodulator(fapi_core::VexTvFApiDemodInfoParam_t& stInfo) {
    std::string* const apstrTexts[] = {&stInfo.strName, &stInfo.strVersion, &stInfo.strBuildNumber,
                                       &stInfo.strChangeList};
    HW_Result_t result = HW_OK;
    HW_U32 u32Command = E_HW_TUNER_FACTORY_CMD_NAME;
    for (std::string* const pstrText : apstrTexts) {
        TunerText text;
        result |= HW_TUNER_FactoryCmdGetAttr(_hTunerHandle, u32Command, nullptr, text.acText);
        *pstrText = text.acText;
        ++u32Command;
    }
    return result;
}

static int getDemodInfo(fapi_core::VexTvFApiDemodInfoParam_t& stInfo, const char* pszCaller = __builtin_FUNCTION()) {
    stInfo = {};
    HW_Result_t result = findTuner();
    if (result != HW_OK) {
        FAPI_LOGD_AS(
            pszCaller,
            FAPI_RED("Error 0x%x: HW_TUNER_GetHandle failed to current handler! Only Supported on the dtv signal "
                     "is available") "\n\n",
            result);
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, FAPI_RED("0x%x: HW_TUNER_GetHandle success !") "\n\n", result);
    FAPI_LOGD_AS(pszCaller, "-----_hTunerHandle-----%d \n\n", _hTunerHandle);
    result = readTunerAttributes(pszCaller);
    if (result != HW_OK) {
        FAPI_LOGE_AS(pszCaller, FAPI_RED("0x%x: HW_TUNER_GetAttr fail !") "\n\n", result);
        return -1;
    }
    result = readDemodulator(stInfo);
    if (result != HW_OK) {
        FAPI_LOGE_AS(pszCaller, FAPI_RED("0x%x: HW_TUNER_FactoryCmdGetAttr fail !") "\n\n", result);
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "Name:%s\n", stInfo.strName.c_str());
    FAPI_LOGD_AS(pszCaller, "Version:%s\n\n", stInfo.strVersion.c_str());
    FAPI_LOGD_AS(pszCaller, "Build number:%s\n\n", stInfo.strBuildNumber.c_str());
    FAPI_LOGD_AS(pszCaller, "Change list:%s\n\n", stInfo.strChangeList.c_str());
    return 0;
}

int a_vextvfapi_inpsrc_get_demod_info(fapi_core::VexTvFApiDemodInfoParam_t* pInfo) {
    if (pInfo == nullptr) {
        return -1;
    }
    try {
        return getDemodInfo(*pInfo);
    } catch (const std::exception&) {
        return -1;
    }
}

// --- Bit error rate --------------------------------------------------------------------------------------------------

// Reads the rate of the slot's tuner. False when there is no tuner, no lock or no rate.
static bool readBer(unsigned int u32Slot, int* pBer, const char* pszCaller = __builtin_FUNCTION()) {
    const HW_TUNER_HandleParams_t stQuery = {u32Slot};
    HW_Handle_t hTuner = HW_HANDLE_NONE;
    if (HW_TUNER_GetHandle(&stQuery, &hTuner) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "Get handle: tuner slot:%d fail!\n\n", u32Slot);
        return false;
    }
    if (hTuner == HW_HANDLE_NONE || HW_TUNER_GetLock(hTuner) != HW_OK) {
        return false;
    }
    if (HW_TUNER_GetBer(hTuner, pBer) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "Get tuner slot:%d BER fail!\n\n", u32Slot);
        return false;
    }
    // Contract: the error level of this line, which is no failure.
    FAPI_LOGE_AS(pszCaller, "slot:%d BER = %d!\n\n", u32Slot, *pBer);
    return true;
}

int a_vextvfapi_inpsrc_get_ber(int* pBer) {
    if (pBer == nullptr) {
        return -1;
    }
    unsigned char u8Type = 0;
    if (_a_vextvfapi_inpsrc_get_current_input_source(&u8Type, 1) != 0) {
        FAPI_LOGE("Get current input source type fail!\n\n");
        return -1;
    }
    if (u8Type != kNoExternalInput) {
        FAPI_LOGE("Current input source type is not DTV.\n\n");
        FAPI_LOGE("Current input source type is: %d\n\n", u8Type);
        return -1;
    }
    HW_TUNER_Caps_t stCaps = {};
    if (HW_TUNER_GetCaps(&stCaps) != HW_OK) {
        FAPI_LOGE("Get tuner slot number fail!\n\n");
        return -1;
    }
    FAPI_LOGD("Tuner slot number = %d\n\n", stCaps.u32SlotNum);
    for (unsigned int u32Slot = 0; u32Slot < stCaps.u32SlotNum; ++u32Slot) {
        if (readBer(u32Slot, pBer)) {
            return 0;
        }
    }
    return -1;
}
