// SPDX-License-Identifier: Apache-2.0
// Output timing, free run, the shown piece of the input, and the driver layer.
#define FAPI_LOG_TAG "VexTvFApiDisplay"
#include <iterator>

#include "a_vextvfapi_common.h"
#include "a_vextvfapi_disp_internal.h"
#include "base/fapi_log.h"
#include "dval/dvvdo.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_video.h"

namespace {

constexpr unsigned int kTimings = 47;
// Flags that a new timing clears. Contract: also the window's own mute, which it does not set.
constexpr HW_U32 kTimingUnmute = E_HW_DISP_MUTE_TIMING | E_HW_DISP_MUTE_WINDOW;

struct ControllerFamily {
    static constexpr auto getHandle = HW_DISP_GetController;
    static constexpr auto open = HW_DISP_OpenController;
    static constexpr auto close = HW_DISP_CloseController;
};
using ControllerLease = fapi::HandleLease<ControllerFamily>;

constexpr HW_DISP_ControllerParams_t kController = {0};

// The driver layer's arguments, by value type.
constexpr DVVDO_Arg_e kPqArguments[] = {E_DVVDO_ARG_0, E_DVVDO_ARG_1, E_DVVDO_ARG_3,
                                        E_DVVDO_ARG_5, E_DVVDO_ARG_2, E_DVVDO_ARG_21};

}  // namespace

int a_vextvfapi_disp_set_output_timing(unsigned int timing) {
    FAPI_LOGD("a_vextvfapi_disp_set_output_timing = %d\n\n", timing);
    if (timing >= kTimings) {
        FAPI_LOGE("Invalid parameter\n");
        return -1;
    }
    fapi::disp::DispLease lease;
    const HW_Handle_t hDisp = fapi::disp::leaseDisp(lease);
    if (hDisp == HW_HANDLE_NONE) {
        FAPI_LOGE("Failed to get DISP handle.\n\n");
        return -1;
    }
    static_cast<void>(HW_DISP_SetMute(hDisp, E_HW_DISP_MUTE_TIMING));
    HW_Handle_t hController = HW_HANDLE_NONE;
    static_cast<void>(HW_DISP_GetController(&kController, &hController));
    if (HW_DISP_SetOutputTiming(hController, timing) == HW_ERR_NOT_SUPPORT) {
        FAPI_LOGE("Don't support set timing.\n\n");
    }
    const HW_Result_t result = HW_DISP_ApplySetting(hDisp);
    if (result != HW_OK) {
        FAPI_LOGE("HW_DISP_ApplySetting failed, code: %d\n\n", result);
    }
    FAPI_LOGD("\033[33m (%s %d)(MainWindow) DISP Settiming release mute flag:0x%x \033[m\n\n", __func__, __LINE__,
              kTimingUnmute);
    static_cast<void>(HW_DISP_SetUnMute(hDisp, kTimingUnmute));
    lease.release();
    return a_vextvfapi_common_hw_err_msg(result);
}

int a_vextvfapi_disp_set_freerun_control(int freeRunType) {
    FAPI_LOGD("a_vextvfapi_disp_set_freerun_control, FreeRunType = %d\n\n", freeRunType);
    ControllerLease lease;
    if (lease.find(kController) != HW_OK && lease.open(kController) != HW_OK) {
        FAPI_LOGE("Open DISP controller failed!\n\n");
    }
    FAPI_LOGD("[%s %d] hDispController = 0x%x\n\n", __func__, __LINE__, lease.handle());
    if (lease.handle() == HW_HANDLE_NONE) {
        FAPI_LOGE("Get DISP controller failed!\n\n");
        return -1;
    }
    FAPI_LOGD("[%s %d] eFreeRun = %d\n\n", __func__, __LINE__, freeRunType);
    const HW_Result_t result = HW_DISP_SetControlAttr(lease.handle(), E_HW_DISP_CONTROL_FREE_RUN, &freeRunType);
    lease.release();
    return a_vextvfapi_common_hw_err_msg(result);
}

// --- Piece of the input ----------------------------------------------------------------------------------------------

// Puts the size of the input picture into the record; it stays 0 when the input reports none.
static void measureInput(int s32Video, int s32Extin, HW_DISP_InputRect_t& stRect,
                         const char* pszCaller = __builtin_FUNCTION()) {
    if (s32Video != 0) {
        HW_VIDEO_Info_t stInfo = {};
        static_cast<void>(HW_VIDEO_GetAttr(static_cast<HW_Handle_t>(s32Video), E_HW_VIDEO_ATTR_INFO, nullptr, &stInfo));
        FAPI_LOGD_AS(pszCaller, "Get Video Base info width/height=%d/%d\n\n", stInfo.u16Width, stInfo.u16Height);
        stRect.u16BaseWidth = stInfo.u16Width;
        stRect.u16BaseHeight = stInfo.u16Height;
    } else if (s32Extin != 0) {
        HW_EXTIN_Timing_t stTiming = {};
        static_cast<void>(
            HW_EXTIN_GetAttr(static_cast<HW_Handle_t>(s32Extin), E_HW_EXTIN_ATTR_TIMING, nullptr, &stTiming));
        FAPI_LOGD_AS(pszCaller, "Get Extin Base info width/height=%d/%d\n\n", stTiming.u32Width, stTiming.u32Height);
        stRect.u16BaseWidth = static_cast<HW_U16>(stTiming.u32Width);
        stRect.u16BaseHeight = static_cast<HW_U16>(stTiming.u32Height);
    }
}

int a_vextvfapi_disp_set_over_scan(unsigned short x, unsigned short y, unsigned short width, unsigned short height) {
    const unsigned int u32Window = fapi::disp::currentWindow();
    FAPI_LOGD("_u32WindowIndex:%d, stInRect:{%d, %d, %d, %d}\n\n", u32Window, x, y, width, height);
    const char* const pszName = fapi::disp::windowName(u32Window);
    if (pszName == nullptr) {
        FAPI_LOGD("Error windowindex: %d\n\n", u32Window);
        return -1;
    }
    if (HW_DISP_GetHandle(pszName, &fapi::disp::hDisp) != HW_OK) {
        FAPI_LOGD("Failed to get DISP handle.\n\n");
        return -1;
    }
    const HW_Handle_t hDisp = fapi::disp::hDisp;
    int s32Video = 0;
    int s32Extin = 0;
    if (!_a_vextvfapi_disp_get_on_screen_input(static_cast<int>(hDisp), &s32Video, &s32Extin)) {
        FAPI_LOGD("Failed to get on screen input.\n\n");
        return -1;
    }
    HW_DISP_InputRect_t stRect = {x, y, width, height, 0, 0};
    measureInput(s32Video, s32Extin, stRect);
    // Contract: the first failure ends the sequence, and no result counts.
    static_cast<void>(HW_DISP_SetInputRect(hDisp, &stRect) == HW_OK &&
                      HW_DISP_SetMute(hDisp, E_HW_DISP_MUTE_WINDOW) == HW_OK && HW_DISP_ApplySetting(hDisp) == HW_OK &&
                      HW_DISP_SetUnMute(hDisp, E_HW_DISP_MUTE_WINDOW) == HW_OK);
    return 0;
}

// --- Driver layer ----------------------------------------------------------------------------------------------------

int a_vextvfapi_disp_set_overscan(int left, int right, int top, int bottom) {
    FAPI_LOGD("a_vextvfapi_disp_set_overscan (L, R, T, B) = (%d, %d, %d, %d)\n\n", left, right, top, bottom);
    const DVVDO_OverScan_t stOverScan = {top, bottom, left, right};
    if (DVVDO_SetOverScan(0, &stOverScan) != 0) {
        FAPI_LOGE("DVVDO_SetOverScan failed.\n\n");
        return -1;
    }
    return 0;
}

int a_vextvfapi_disp_nty_drv_reload_param() {
    FAPI_LOGD("a_vextvfapi_disp_notify_driver_reload_parameters\n\n");
    if (DVVDO_Reset(0) != 0) {
        FAPI_LOGE("DVVDO_Reset failed\n");
        return -1;
    }
    return 0;
}

int a_vextvfapi_disp_set_pq_value(int type, unsigned int value) {
    FAPI_LOGI("a_vextvfapi_disp_set_pq_value, u32PqValueType: %d, s32Value: %d\n\n", type, value);
    if (type < 0 || type >= static_cast<int>(std::size(kPqArguments))) {
        FAPI_LOGE("Invalid type %d\n\n", type);
        return -1;
    }
    if (DVVDO_SetArg(0, kPqArguments[type], value) != 0) {
        FAPI_LOGE("DVVDO_SetArg failed.\n\n");
        return -1;
    }
    return 0;
}
