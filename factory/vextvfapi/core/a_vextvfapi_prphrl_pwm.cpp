// SPDX-License-Identifier: Apache-2.0
// PWM channels.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include "a_vextvfapi_prphrl_internal.h"
#include "base/fapi_handle_lease.h"
#include "base/fapi_hw_result.h"
#include "base/fapi_log.h"
#include "hw3/hw_pwm.h"

namespace {

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

HW_PWM_Channel_e _convertToHwPwmChannel(fapi_core::VexTvFApiPwmChannel channel) {
    if (channel > fapi_core::E_VEXTVFAPI_PWM_CHANNEL_LAST) {
        return E_HW_PWM_CHANNEL_INVALID;
    }
    // The middleware's channel 9 is not wired.
    const unsigned int u32Channel = channel;
    return static_cast<HW_PWM_Channel_e>(u32Channel <= E_HW_PWM_CHANNEL_8 ? u32Channel : u32Channel + 1);
}

HW_Handle_t _a_vextvfapi_prphrl_get_pwm_handle(unsigned int channel, unsigned char& opened) {
    opened = 0;
    const HW_PWM_InitParams_t stInit = {};
    HW_Result_t result = HW_PWM_Init(&stInit);
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE("[PWM] HW_PWM_Init failed, code: %d\n\n", result);
        return HW_HANDLE_NONE;
    }
    PwmLease lease;
    const HW_PWM_HandleParams_t stQuery = {channel};
    if (lease.find(stQuery) != HW_OK) {
        const HW_PWM_OpenParams_t stParams = {channel};
        result = lease.open(stParams);
        if (result != HW_OK) {
            FAPI_LOGE("[PWM] HW_PWM_Open failed, eChannel: %d, code: %d\n\n", channel, result);
            return HW_HANDLE_NONE;
        }
        opened = 1;
    }
    // The caller closes what was opened here.
    lease.keepOpen();
    return lease.handle();
}

// Whether the numbers are good and the channel can be had.
static bool obtainPwm(PwmLease& lease, HW_PWM_AttrType_e eAttr, fapi_core::VexTvFApiPwmChannel channel) {
    const HW_PWM_Channel_e eChannel = _convertToHwPwmChannel(channel);
    if (eAttr == E_HW_PWM_ATTR_INVALID || eChannel == E_HW_PWM_CHANNEL_INVALID) {
        return false;
    }
    unsigned char u8Opened = 0;
    const HW_Handle_t hPwm = _a_vextvfapi_prphrl_get_pwm_handle(eChannel, u8Opened);
    lease.adopt(hPwm, u8Opened != 0);
    return hPwm != HW_HANDLE_NONE;
}

int a_vextvfapi_prphrl_pwm_set_attr(fapi_core::VexTvFApiPwmAttr attr, fapi_core::VexTvFApiPwmChannel channel,
                                    unsigned int value) {
    const HW_PWM_AttrType_e eAttr = convertToHwPwmAttr(attr);
    PwmLease lease;
    if (!obtainPwm(lease, eAttr, channel)) {
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
    if (!obtainPwm(lease, eAttr, channel)) {
        return -1;
    }
    const HW_Result_t result = HW_PWM_GetAttr(lease.handle(), eAttr, nullptr, value);
    if (result != HW_OK) {
        FAPI_LOGE("[PWM] HW_PWM_GetAttr failed, code: %d\n\n", result);
        return -1;
    }
    return 0;
}
