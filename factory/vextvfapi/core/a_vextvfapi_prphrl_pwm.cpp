// SPDX-License-Identifier: Apache-2.0
// PWM channels.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include "a_vextvfapi_prphrl_internal.h"
#include "base/fapi_handle_lease.h"
#include "base/fapi_hw_result.h"
#include "base/fapi_log.h"
#include "hw3/hw_pwm.h"

namespace {

// Contract: the name in log lines.
constexpr char kFinder[] = "_a_vextvfapi_prphrl_get_pwm_handle";

struct PwmFamily {
    static constexpr auto getHandle = HW_PWM_GetHandle;
    static constexpr auto open = HW_PWM_Open;
    static constexpr auto close = HW_PWM_Close;
};
using PwmLease = fapi::HandleLease<PwmFamily>;

}  // namespace

static HW_PWM_AttrType_e convertToHwPwmAttr(fapi_core::VexTvFApiPwmAttr attr) {
    switch (attr) {
        case fapi_core::E_VEXTVFAPI_PWM_ATTR_0:
            return E_HW_PWM_ATTR_0;
        case fapi_core::E_VEXTVFAPI_PWM_ATTR_1:
            return E_HW_PWM_ATTR_1;
        case fapi_core::E_VEXTVFAPI_PWM_ATTR_2:
            return E_HW_PWM_ATTR_8;
        default:
            return E_HW_PWM_ATTR_INVALID;
    }
}

static HW_PWM_Channel_e convertToHwPwmChannel(fapi_core::VexTvFApiPwmChannel channel) {
    if (channel > fapi_core::E_VEXTVFAPI_PWM_CHANNEL_LAST) {
        return E_HW_PWM_CHANNEL_INVALID;
    }
    // The middleware's channel 9 is not wired.
    const unsigned int u32Channel = channel;
    return static_cast<HW_PWM_Channel_e>(u32Channel <= E_HW_PWM_CHANNEL_8 ? u32Channel : u32Channel + 1);
}

// Finds the channel open, or opens it.
static bool leaseChannel(PwmLease& lease, HW_PWM_Channel_e eChannel) {
    const HW_PWM_InitParams_t stInit = {};
    HW_Result_t result = HW_PWM_Init(&stInit);
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE_AS(kFinder, "[PWM] HW_PWM_Init failed, code: %d\n\n", result);
        return false;
    }
    const HW_PWM_HandleParams_t stQuery = {static_cast<HW_U32>(eChannel)};
    if (lease.find(stQuery) == HW_OK) {
        return true;
    }
    const HW_PWM_OpenParams_t stParams = {static_cast<HW_U32>(eChannel)};
    result = lease.open(stParams);
    if (result != HW_OK) {
        FAPI_LOGE_AS(kFinder, "[PWM] HW_PWM_Open failed, eChannel: %d, code: %d\n\n", eChannel, result);
        return false;
    }
    return true;
}

// Leases the channel if both numbers are in range.
static bool leasePwm(PwmLease& lease, HW_PWM_AttrType_e eAttr, fapi_core::VexTvFApiPwmChannel channel) {
    const HW_PWM_Channel_e eChannel = convertToHwPwmChannel(channel);
    if (eAttr == E_HW_PWM_ATTR_INVALID || eChannel == E_HW_PWM_CHANNEL_INVALID) {
        return false;
    }
    return leaseChannel(lease, eChannel) && lease.handle() != HW_HANDLE_NONE;
}

int a_vextvfapi_prphrl_pwm_set_attr(fapi_core::VexTvFApiPwmAttr attr, fapi_core::VexTvFApiPwmChannel channel,
                                    unsigned int value) {
    const HW_PWM_AttrType_e eAttr = convertToHwPwmAttr(attr);
    PwmLease lease;
    if (!leasePwm(lease, eAttr, channel)) {
        return -1;
    }
    const HW_Result_t result = HW_PWM_SetAttr(lease.handle(), eAttr, &value);
    if (result != HW_OK) {
        FAPI_LOGE("[PWM] HW_PWM_SetAttr failed, code: %d\n\n", result);
        return -1;
    }
    return 0;
}

int a_vextvfapi_prphrl_pwm_get_attr(fapi_core::VexTvFApiPwmAttr attr, fapi_core::VexTvFApiPwmChannel channel,
                                    unsigned int* value) {
    const HW_PWM_AttrType_e eAttr = convertToHwPwmAttr(attr);
    PwmLease lease;
    if (!leasePwm(lease, eAttr, channel)) {
        return -1;
    }
    const HW_Result_t result = HW_PWM_GetAttr(lease.handle(), eAttr, nullptr, value);
    if (result != HW_OK) {
        FAPI_LOGE("[PWM] HW_PWM_GetAttr failed, code: %d\n\n", result);
        return -1;
    }
    return 0;
}
