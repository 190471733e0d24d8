// SPDX-License-Identifier: Apache-2.0
// Panel attributes and the chips next to the panel.
#define FAPI_LOG_TAG "VexTvFApiDisplay"
#include <cstring>

#include "a_vextvfapi_common.h"
#include "a_vextvfapi_disp_internal.h"
#include "base/fapi_log.h"
#include "base/fapi_log_text.h"
#include "hw3/hw_dispout.h"
#include "hw3/hw_sys.h"

namespace {

constexpr int kNoOutput = 255;

struct DispoutFamily {
    static constexpr auto getHandle = HW_DISPOUT_GetHandle;
    static constexpr auto open = HW_DISPOUT_Open;
    static constexpr auto close = HW_DISPOUT_Close;
};
using DispoutLease = fapi::HandleLease<DispoutFamily>;

}  // namespace

// Finds the display output open, or opens it. Returns the handle, 0 when it is not available.
static HW_Handle_t leaseOutput(DispoutLease& lease) {
    const HW_DISPOUT_HandleParams_t stQuery = {0};
    if (lease.find(stQuery) != HW_OK) {
        const HW_DISPOUT_OpenParams_t stParams = {0};
        static_cast<void>(lease.open(stParams));
    }
    return lease.handle();
}

// Contract: closes the module's display handle in place of an output that was opened here, which stays open.
static void closeDisplayHandle(DispoutLease& lease) {
    if (lease.isOpened()) {
        lease.keepOpen();
        static_cast<void>(HW_DISPOUT_Close(fapi::disp::hDisp));
    }
}

// --- Attributes ------------------------------------------------------------------------------------------------------

int a_vextvfapi_disp_panel_set_attr(unsigned int, unsigned int attr, unsigned int a, unsigned int b, unsigned int c,
                                    unsigned int d) {
    DispoutLease lease;
    const HW_Handle_t hDispout = leaseOutput(lease);
    if (hDispout == HW_HANDLE_NONE) {
        return -1;
    }
    const auto u8A = static_cast<HW_U8>(a);
    const auto u16B = static_cast<HW_U16>(b);
    const auto u16C = static_cast<HW_U16>(c);
    HW_Result_t result = HW_ERR_FAILED;
    switch (attr) {
        case E_HW_DISPOUT_PANEL_0:
        case E_HW_DISPOUT_PANEL_1:
        case E_HW_DISPOUT_PANEL_2:
        case E_HW_DISPOUT_PANEL_3:
        case E_HW_DISPOUT_PANEL_6:
        case E_HW_DISPOUT_PANEL_9:
        case E_HW_DISPOUT_PANEL_11:
            result = HW_DISPOUT_PanelSetAttr(hDispout, attr, &a);
            break;
        case E_HW_DISPOUT_PANEL_LVDS_SSC: {
            const HW_DISPOUT_LvdsSsc_t stSsc = {u8A, u16B, u16C};
            FAPI_LOGD("bEnable = %X\n\n", stSsc.u8Enable);
            FAPI_LOGD("u16SscSpan = 0x%X\n\n", stSsc.u16SscSpan);
            FAPI_LOGD("u16SscStep = 0x%X\n\n", stSsc.u16SscStep);
            result = HW_DISPOUT_PanelSetAttr(hDispout, attr, &stSsc);
            break;
        }
        case E_HW_DISPOUT_PANEL_7: {
            const HW_DISPOUT_Panel7_t stPanel = {u8A, static_cast<HW_U8>(b)};
            result = HW_DISPOUT_PanelSetAttr(hDispout, attr, &stPanel);
            break;
        }
        case E_HW_DISPOUT_PANEL_8: {
            const HW_DISPOUT_Panel8_t stPanel = {u8A, u16B, u16C, static_cast<HW_U16>(d)};
            result = HW_DISPOUT_PanelSetAttr(hDispout, attr, &stPanel);
            break;
        }
        default:
            FAPI_LOGE("[Factory]: %s non-support eAttrType = %d\n\n", __func__, attr);
            break;
    }
    lease.release();
    return a_vextvfapi_common_hw_err_msg(result);
}

int a_vextvfapi_disp_panel_get_attr(unsigned int, int attr, unsigned int*, void* out) {
    if (out == nullptr) {
        FAPI_LOGE("invaild Arguments\n");
        return -1;
    }
    DispoutLease lease;
    const HW_Handle_t hDispout = leaseOutput(lease);
    if (hDispout == HW_HANDLE_NONE) {
        return -1;
    }
    HW_Result_t result = HW_OK;
    switch (attr) {
        case E_HW_DISPOUT_PANEL_PWM_RANGE: {
            HW_DISPOUT_PwmRange_t stRange = {};
            result = HW_DISPOUT_PanelGetAttr(hDispout, E_HW_DISPOUT_PANEL_PWM_RANGE, nullptr, &stRange);
            FAPI_LOGD("u32PwmMinVal = %d, u32PwmMaxVal = %d\n\n", stRange.u32PwmMinVal, stRange.u32PwmMaxVal);
            std::memcpy(out, &stRange, sizeof(stRange));
            break;
        }
        case E_HW_DISPOUT_PANEL_LVDS_SSC: {
            HW_DISPOUT_LvdsSsc_t stSsc = {};
            result = HW_DISPOUT_PanelGetAttr(hDispout, E_HW_DISPOUT_PANEL_LVDS_SSC, nullptr, &stSsc);
            FAPI_LOGD("bEnable = %d, u16SscSpan = %d, u16SscStep = %d\n\n", stSsc.u8Enable, stSsc.u16SscSpan,
                      stSsc.u16SscStep);
            std::memcpy(out, &stSsc, sizeof(stSsc));
            break;
        }
        default:
            // Contract: no failure, and an output that was opened stays open.
            FAPI_LOGE("[Factory]: %s non-support eAttrType = %d\n\n", __func__, attr);
            lease.keepOpen();
            return 0;
    }
    lease.release();
    return a_vextvfapi_common_hw_err_msg(result);
}

int a_vextvfapi_disp_get_lvds_ssc(unsigned char& enable, unsigned int& span, unsigned int& step) {
    HW_DISPOUT_LvdsSsc_t stSsc = {};
    const int s32Status = a_vextvfapi_disp_panel_get_attr(0, E_HW_DISPOUT_PANEL_LVDS_SSC, nullptr, &stSsc);
    enable = stSsc.u8Enable;
    span = stSsc.u16SscSpan;
    step = stSsc.u16SscStep;
    FAPI_LOGD("get_lvds_ssc bEnable = %d, u16SscSpan = %d, u16SscStep = %d\n\n", enable, span, step);
    return s32Status;
}

int a_vextvfapi_disp_get_pwm_range(unsigned int& min, unsigned int& max) {
    HW_DISPOUT_PwmRange_t stRange = {};
    const int s32Status = a_vextvfapi_disp_panel_get_attr(0, E_HW_DISPOUT_PANEL_PWM_RANGE, nullptr, &stRange);
    min = stRange.u32PwmMinVal;
    max = stRange.u32PwmMaxVal;
    // Contract: the misspelt "Mix".
    FAPI_LOGD("get_pwm_range u32PWMMix = %d, u32PWMMax = %d, \n\n", min, max);
    return s32Status;
}

// --- Chips next to the panel -----------------------------------------------------------------------------------------

int a_vextvfapi_disp_get_tcon_info(fapi_core::VexTvFApiDispTconInfo* out) {
    if (out == nullptr) {
        FAPI_LOGE("Invalid parameter\n");
        return -1;
    }
    DispoutLease lease;
    const HW_Handle_t hDispout = leaseOutput(lease);
    if (hDispout == HW_HANDLE_NONE) {
        return -1;
    }
    HW_DISPOUT_TconInfo_t stInfo = {};
    const HW_Result_t result = HW_DISPOUT_PanelGetAttr(hDispout, E_HW_DISPOUT_PANEL_TCON_INFO, nullptr, &stInfo);
    if (result != HW_OK) {
        FAPI_LOGE("GetPanelAttr(TCON_INFO) fail! eRet = %d\n\n", result);
        lease.keepOpen();
        return -1;
    }
    static_assert(sizeof(*out) == sizeof(stInfo), "");
    std::memcpy(out, &stInfo, sizeof(stInfo));
    FAPI_LOGD("u8TconProjectName = %s, u8TconCustomerName = %s\n\n",
              fapi::BoundedText(out->u8TconProjectName, sizeof(out->u8TconProjectName)).get(),
              fapi::BoundedText(out->u8TconCustomerName, sizeof(out->u8TconCustomerName)).get());
    closeDisplayHandle(lease);
    return 0;
}

int a_vextvfapi_disp_get_frc_device_info(fapi_core::VexTvFApiDispExtFrcDeviceInfo* out) {
    if (out == nullptr) {
        FAPI_LOGE("Invalid parameter\n");
        return -1;
    }
    DispoutLease lease;
    const HW_Handle_t hDispout = leaseOutput(lease);
    if (hDispout == HW_HANDLE_NONE) {
        return -1;
    }
    HW_DISPOUT_FrcDevice_t stDevice = {};
    const HW_Result_t result = HW_DISPOUT_PanelGetAttr(hDispout, E_HW_DISPOUT_PANEL_FRC_DEVICE, nullptr, &stDevice);
    out->eExtFrcModel = stDevice.eExtFrcModel;
    out->u32FwVer = stDevice.u32FwVer;
    FAPI_LOGD("eExtFrcModel = %d, u32FwVer = %d\n\n", out->eExtFrcModel, out->u32FwVer);
    closeDisplayHandle(lease);
    return a_vextvfapi_common_hw_err_msg(result);
}

int a_vextvfapi_disp_get_frc_connect_status() {
    DispoutLease lease;
    const HW_Handle_t hDispout = leaseOutput(lease);
    if (hDispout == HW_HANDLE_NONE) {
        FAPI_LOGE("hDispouthandle is NULL.\n");
        return kNoOutput;
    }
    HW_U32 u32Status = 0;
    static_cast<void>(HW_DISPOUT_PanelGetAttr(hDispout, E_HW_DISPOUT_PANEL_FRC_STATUS, nullptr, &u32Status));
    FAPI_LOGD("device connect status is %d.\n\n", u32Status);
    closeDisplayHandle(lease);
    return static_cast<int>(u32Status);
}

int a_vextvfapi_disp_upgrade_tarn_fw(const unsigned char* path) {
    DispoutLease lease;
    const HW_Handle_t hDispout = leaseOutput(lease);
    if (hDispout == HW_HANDLE_NONE) {
        return -1;
    }
    const HW_Result_t result = HW_SYS_UpgradeFw(E_HW_SYS_FW_TARN, path);
    if (result != HW_OK) {
        FAPI_LOGE("Upgrade TARN FW FAIL with %s\n\n", fapi::logText(path));
    }
    closeDisplayHandle(lease);
    return a_vextvfapi_common_hw_err_msg(result);
}
