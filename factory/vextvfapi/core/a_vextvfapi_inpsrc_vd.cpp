// SPDX-License-Identifier: Apache-2.0
// The analog video decoder: signal and factory parameters.
#define FAPI_LOG_TAG "VexTvFApiInputSource"
#include "a_vextvfapi_inpsrc.h"
#include "base/fapi_log.h"
#include "hw3/hw_extin.h"

namespace {

// The fixed code that failure messages print instead of the middleware's. Contract, as are the texts that are misspelt
// or name another call.
constexpr int kErrorCode = 3;

constexpr HW_Result_t kFirstFailure = 3;

}  // namespace

static HW_Result_t findDecoder(HW_Handle_t* phDecoder) {
    HW_EXTIN_HandleParams_t stQuery = {};
    stQuery.u32Type = E_HW_EXTIN_TYPE_VD;
    return HW_EXTIN_GetHandle(&stQuery, phDecoder);
}

// The decoder, opened when needed and never closed.
static HW_Handle_t _hVd;

static bool openDecoder(const char* pszCaller = __builtin_FUNCTION()) {
    HW_EXTIN_OpenParams_t stParams = {};
    stParams.u32Type = E_HW_EXTIN_TYPE_VD;
    if (HW_EXTIN_Open(&stParams, &_hVd) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, FAPI_RED("Error 0x%x: failed to HW_EXTIN_Open!") "\n\n", kErrorCode);
        return false;
    }
    return true;
}

static bool obtainDecoder(const char* pszCaller = __builtin_FUNCTION()) {
    return findDecoder(&_hVd) == HW_OK || openDecoder(pszCaller);
}

// --- Signal ----------------------------------------------------------------------------------------------------------

int _a_vextvfapi_inpsrc_check_vd_signal_locked(unsigned char* pu8LockStatus) {
    FAPI_LOGD(FAPI_RED("Before HW_EXTIN_Open!") "\n\n");
    if (findDecoder(&_hVd) != HW_OK) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_EXTIN_GetHandle!") "\n\n", kErrorCode);
        if (!openDecoder()) {
            return -1;
        }
    }
    if (_hVd == HW_HANDLE_NONE) {
        FAPI_LOGE("EXTIN handle is not ready!\n\n");
        return -1;
    }
    if (pu8LockStatus == nullptr) {
        FAPI_LOGE("Inavalid input!\n\n");
        return -1;
    }
    FAPI_LOGD(FAPI_RED("Before HW_EXTIN_GetSignalStatus!") "\n\n");
    HW_U32 u32Status = E_HW_EXTIN_SIGNAL_UNKNOWN;
    const HW_Result_t result = HW_EXTIN_GetSignalStatus(_hVd, &u32Status);
    *pu8LockStatus = static_cast<unsigned char>(u32Status);
    FAPI_LOGI(FAPI_RED("pu8LockStatus:%d ") "\n\n", *pu8LockStatus);
    if (result >= kFirstFailure) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_EXTIN_GetSignalStatus!") "\n\n", result);
    }
    FAPI_LOGD(FAPI_RED("Finished!!!") "\n\n");
    return result < kFirstFailure ? 0 : -1;
}

int a_vextvfapi_inpsrc_check_vd_signal_locked(unsigned char* pu8LockStatus) {
    return _a_vextvfapi_inpsrc_check_vd_signal_locked(pu8LockStatus);
}

// --- Factory parameters ----------------------------------------------------------------------------------------------

unsigned int _a_vextvfapi_inpsrc_convert_to_HW_EXTIN_FactoryType_e(unsigned int type) {
    if (type > E_HW_EXTIN_FACTORY_UNKNOWN) {
        FAPI_LOGE("eAtvVdType is unknown type\n");
        return E_HW_EXTIN_FACTORY_UNKNOWN;
    }
    return type;
}

// Converts a type; E_HW_EXTIN_FACTORY_NONE for one that cannot be read or set.
static unsigned int factoryParameter(unsigned int type, const char* pszCaller = __builtin_FUNCTION()) {
    const unsigned int u32Type = _a_vextvfapi_inpsrc_convert_to_HW_EXTIN_FactoryType_e(type);
    if (u32Type == E_HW_EXTIN_FACTORY_NONE || u32Type == E_HW_EXTIN_FACTORY_UNKNOWN) {
        FAPI_LOGE_AS(pszCaller, "eAtvVdType is unknown type\n\n");
        return E_HW_EXTIN_FACTORY_NONE;
    }
    return u32Type;
}

int a_vextvfapi_inpsrc_set_factory_vd_para(unsigned int eAtvVdType, unsigned int u32VdParam) {
    FAPI_LOGD("eAtvVdType: %d, u32VdParam:%d \n\n", eAtvVdType, u32VdParam);
    FAPI_LOGE(FAPI_RED("Before HW_EXTIN_Open!") "\n\n");
    if (!obtainDecoder()) {
        return -1;
    }
    const unsigned int u32Type = factoryParameter(eAtvVdType);
    if (u32Type == E_HW_EXTIN_FACTORY_NONE) {
        return -1;
    }
    const HW_Result_t result = HW_EXTIN_FactorySetAttr(_hVd, u32Type, &u32VdParam);
    if (result != HW_OK) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_EXTIN_FactorySetAttr!") "\n\n", result);
        return -1;
    }
    return 0;
}

int a_vextvfapi_inpsrc_get_factory_vd_para(unsigned int eAtvVdType, unsigned int* pu32VdParam) {
    if (pu32VdParam == nullptr) {
        return -1;
    }
    FAPI_LOGD("eAtvVdType: %d, u32VdParam:%d \n\n", eAtvVdType, *pu32VdParam);
    if (!obtainDecoder()) {
        return -1;
    }
    const unsigned int u32Type = factoryParameter(eAtvVdType);
    if (u32Type == E_HW_EXTIN_FACTORY_NONE) {
        return -1;
    }
    const HW_Result_t result = HW_EXTIN_FactoryGetAttr(_hVd, u32Type, nullptr, pu32VdParam);
    FAPI_LOGD("eAtvVdType: %d, u32VdParam:%d \n\n", eAtvVdType, *pu32VdParam);
    if (result != HW_OK) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_TUNER_GetVd!") "\n\n", result);
        return -1;
    }
    return 0;
}
