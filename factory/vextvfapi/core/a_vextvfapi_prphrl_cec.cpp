// SPDX-License-Identifier: Apache-2.0
// CEC and eARC.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include <atomic>

#include "a_vextvfapi_prphrl_internal.h"
#include "base/fapi_handle_lease.h"
#include "base/fapi_hw_result.h"
#include "base/fapi_log.h"
#include "hw3/hw_cec.h"

// The state that the host asked for last. No source reads it.
static std::atomic<unsigned char> _bCecEnable{0};

namespace {

struct CecFamily {
    static constexpr auto getHandle = HW_CEC_GetHandle;
    static constexpr auto open = HW_CEC_Open;
    static constexpr auto close = HW_CEC_Close;
};
using CecLease = fapi::HandleLease<CecFamily>;

}  // namespace

static bool leaseCec(CecLease& lease, const char* pszCaller = __builtin_FUNCTION()) {
    const HW_CEC_HandleParams_t stQuery = {};
    if (lease.find(stQuery) == HW_OK) {
        return true;
    }
    FAPI_LOGD_AS(pszCaller, "Open CEC handle\n\n");
    const HW_CEC_OpenParams_t stParams = {};
    if (lease.open(stParams) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "Open CEC handle fail\n\n");
        return false;
    }
    return true;
}

// Closes the handle if it was opened here. A failed close is only logged.
static void closeCec(CecLease& lease, const char* pszCaller = __builtin_FUNCTION()) {
    if (!lease.isOpened()) {
        return;
    }
    FAPI_LOGD_AS(pszCaller, " Close CEC \n\n");
    if (lease.release() != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "Extin close handle failed!\n\n");
    }
}

// Contract: reading the status logs the texts of the switch.
static int finishCec(CecLease& lease, HW_Result_t result, const char* pszCaller = __builtin_FUNCTION()) {
    closeCec(lease, pszCaller);
    if (result != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "Set CEC fail!\n\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "Set CEC success!\n\n");
    return 0;
}

int a_vextvfapi_prphrl_enable_cec(unsigned char enable) {
    CecLease lease;
    if (!leaseCec(lease)) {
        return -1;
    }
    HW_Result_t result = HW_OK;
    if (enable != 0) {
        result = HW_CEC_Enable(lease.handle());
        _bCecEnable.store(1);
        FAPI_LOGI("Set CEC enable!\n\n");
    } else {
        result = HW_CEC_Disable(lease.handle());
        _bCecEnable.store(0);
        FAPI_LOGI("Set CEC disable!\n\n");
    }
    return finishCec(lease, result);
}

int a_vextvfapi_prphrl_get_cec_status(signed char* s8EnableStatus) {
    CecLease lease;
    if (!leaseCec(lease)) {
        return -1;
    }
    if (s8EnableStatus == nullptr) {
        FAPI_LOGE("s8EnableStatus is null!!\n");
        closeCec(lease);
        return -1;
    }
    const HW_Result_t result = HW_CEC_GetAttr(lease.handle(), E_HW_CEC_ATTR_ENABLE_STATUS, nullptr, s8EnableStatus);
    FAPI_LOGI("Get CEC enable status: %d\n\n", *s8EnableStatus);
    FAPI_LOGI("CEC enable status: %d\n\n", *s8EnableStatus);
    return finishCec(lease, result);
}

// Closes the handle if it was opened here. Contract: unlike above, -1 when the close fails.
static int finishEarc(CecLease& lease, int s32Status, const char* pszCaller = __builtin_FUNCTION()) {
    if (!lease.isOpened()) {
        return s32Status;
    }
    FAPI_LOGD_AS(pszCaller, " Close CEC \n\n");
    if (lease.release() != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "CEC close handle failed!\n\n");
        return -1;
    }
    return s32Status;
}

int a_vextvfapi_prphrl_get_earc_status(int* s32EArcStatus) {
    const HW_CEC_InitParams_t stInit = {};
    if (!fapi::isBroughtUp(HW_CEC_Init(&stInit))) {
        FAPI_LOGD("CEC Init\n\n");
        return -1;
    }
    CecLease lease;
    if (!leaseCec(lease)) {
        return -1;
    }
    if (s32EArcStatus == nullptr) {
        FAPI_LOGE("s32EArcStatus is null!!\n");
        return finishEarc(lease, -1);
    }
    if (HW_CEC_GetAttr(lease.handle(), E_HW_CEC_ATTR_EARC_STATUS, nullptr, s32EArcStatus) != HW_OK) {
        FAPI_LOGE("Get eARC Status failed!\n\n");
        return finishEarc(lease, -1);
    }
    FAPI_LOGI("Get eARC Status: %d\n\n", *s32EArcStatus);
    return finishEarc(lease, 0);
}
