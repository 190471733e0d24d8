// SPDX-License-Identifier: Apache-2.0
// The display test module's start-up, video test patterns, switches of graphics and picture quality, and events.
#define FAPI_LOG_TAG "VexTvFApiDisplayTest"
#include "a_vextvfapi_disptst.h"

#include "a_vextvfapi_common.h"
#include "a_vextvfapi_disp_internal.h"
#include "base/fapi_event_slot.h"
#include "base/fapi_hw_result.h"
#include "base/fapi_log.h"
#include "hw3/hw_disp.h"
#include "hw3/hw_osd.h"
#include "hw3/hw_sys.h"

namespace {

constexpr HW_U32 kSurfaceMax = 64;

// --- Video test patterns ---------------------------------------------------------------------------------------------

// The stages of the picture path that make a pattern, by selector. Three take more than the pattern's attribute.
enum class Special { none, vop2, whiteBalance, muteColor };

struct PatternStage {
    const char* pszName;
    HW_DISP_PatternMode_e eMode;
    Special eSpecial = Special::none;
    HW_U32 u32ParamMax = 0xFFFFFFFF;
};

constexpr PatternStage kStages[] = {
    {"MVOP_PATTERN_MODE", E_HW_DISP_PATTERN_MVOP, Special::none, 7},
    {"XC_ADC_PATTERN_MODE", E_HW_DISP_PATTERN_ADC, Special::none, 7},
    {"XC_IPMUX_PATTERN_MODE", E_HW_DISP_PATTERN_IPMUX},
    {"XC_IP1_PATTERN_MODE", E_HW_DISP_PATTERN_IP1},
    {"XC_OP_LINEBUFF_PATTERN_MODE", E_HW_DISP_PATTERN_OP_LINEBUFF},
    {"XC_OP_HVSP_PATTERN_MODE", E_HW_DISP_PATTERN_OP_HVSP},
    {"XC_VOP_PATTERN_MODE", E_HW_DISP_PATTERN_VOP},
    {"XC_VOP2_PATTERN_MODE", E_HW_DISP_PATTERN_VOP2, Special::vop2},
    {"XC_MOD_PATTERN_MODE", E_HW_DISP_PATTERN_MOD},
    {"XC_WHITE_BALANCE_PATTERN_MODE(PRE_GAMMA)", E_HW_DISP_PATTERN_WHITE_BALANCE, Special::whiteBalance},
    {"VIDEO_MUTE_COLOR_MODE", E_HW_DISP_PATTERN_FORCE_U32, Special::muteColor},
};

}  // namespace

static HW_Result_t setPattern(HW_Handle_t hDisp, HW_DISP_PatternMode_e eMode,
                              const fapi_core::VexTvFApiDispTstPattern& pattern) {
    const HW_DISP_TestPattern_t stPattern = {
        static_cast<HW_U32>(eMode),
        pattern.u32Enable != 0 ? 1u : 0u,
        pattern.u32Param,
        {pattern.au32Value[0], pattern.au32Value[1], pattern.au32Value[2]},
    };
    return HW_DISP_SetAttr(hDisp, E_HW_DISP_ATTR_TEST_PATTERN, &stPattern);
}

static HW_Result_t setMuted(HW_Handle_t hDisp, bool bMuted) {
    return bMuted ? HW_DISP_SetMute(hDisp, E_HW_DISP_MUTE_WINDOW) : HW_DISP_SetUnMute(hDisp, E_HW_DISP_MUTE_WINDOW);
}

// Mutes the window before the pattern is switched off, and unmutes it after the pattern is switched on.
static HW_Result_t setVop2Pattern(HW_Handle_t hDisp, const fapi_core::VexTvFApiDispTstPattern& pattern) {
    const HW_Result_t muted = pattern.u32Enable == 0 ? setMuted(hDisp, true) : HW_OK;
    const HW_Result_t set = setPattern(hDisp, E_HW_DISP_PATTERN_VOP2, pattern);
    const HW_Result_t unmuted = pattern.u32Enable != 0 ? setMuted(hDisp, false) : HW_OK;
    return muted | set | unmuted;
}

static HW_Result_t setMuteColor(HW_Handle_t hDisp, const fapi_core::VexTvFApiDispTstPattern& pattern) {
    const HW_DISP_MuteColor_t stColor = {{pattern.au32Value[0], pattern.au32Value[1], pattern.au32Value[2]}};
    const HW_Result_t set = HW_DISP_SetAttr(hDisp, E_HW_DISP_ATTR_MUTE_COLOR, &stColor);
    return set | setMuted(hDisp, pattern.u32Enable != 0);
}

static HW_Result_t setStage(HW_Handle_t hDisp, const PatternStage& stStage,
                            const fapi_core::VexTvFApiDispTstPattern& pattern) {
    switch (stStage.eSpecial) {
        case Special::vop2:
            return setVop2Pattern(hDisp, pattern);
        case Special::whiteBalance: {
            // The preceding stage comes first.
            const HW_Result_t feeding = setPattern(hDisp, E_HW_DISP_PATTERN_VOP2, pattern);
            return feeding | setPattern(hDisp, stStage.eMode, pattern);
        }
        case Special::muteColor:
            return setMuteColor(hDisp, pattern);
        case Special::none:
            break;
    }
    return setPattern(hDisp, stStage.eMode, pattern);
}

int a_vextvfapi_disptst_gen_test_pattern(unsigned int patternMode, fapi_core::VexTvFApiDispTstPattern pattern) {
    fapi::disp::DispLease lease;
    const HW_Handle_t hDisp = fapi::disp::leaseDisp(lease);
    if (hDisp == HW_HANDLE_NONE) {
        FAPI_LOGE("Failed to get DISP handle.\n\n");
        return -1;
    }
    if (patternMode >= std::size(kStages)) {
        FAPI_LOGE("[Factory]: %s non-support PatternMode = %d\n\n", __func__, patternMode);
        return a_vextvfapi_common_hw_err_msg(HW_ERR_FAILED);
    }
    const PatternStage& stStage = kStages[patternMode];
    FAPI_LOGI("%s\n\n", stStage.pszName);
    if (pattern.u32Param > stStage.u32ParamMax) {
        return a_vextvfapi_common_hw_err_msg(HW_ERR_FAILED);
    }
    const HW_Result_t result = setStage(hDisp, stStage, pattern);
    lease.release();
    return a_vextvfapi_common_hw_err_msg(result);
}

int _a_vextvfapi_disptst_connect_disp(int handle, unsigned char) {
    int s32Video = 0;
    int s32Extin = 0;
    const bool bAnswered = _a_vextvfapi_disp_get_on_screen_input(handle, &s32Video, &s32Extin);
    return bAnswered && (s32Video != 0 || s32Extin != 0) ? 0 : -1;
}

// --- Start-up and switches -------------------------------------------------------------------------------------------

int a_vextvfapi_disptst_init() {
    HW_Result_t result = HW_SYS_Init(nullptr);
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE("[Pattern] HW_SYS_Init failed, code: %d\n\n", result);
        return -1;
    }
    const HW_OSD_InitParams_t stInit = {0, kSurfaceMax};
    result = HW_OSD_Init(&stInit);
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE("[Pattern] OSD module init failed ret: %d\n\n", result);
        return -1;
    }
    return 0;
}

int a_vextvfapi_disptst_deinit() {
    return 0;
}

int a_vextvfapi_disptst_set_osd_layer_on_off(int osdLayerId, unsigned char enable) {
    FAPI_LOGI("[Pattern] a_vextvfapi_disptst_set_osd_layer_on_off, osdLayerId = %d, enable = %d\n\n", osdLayerId,
              enable);
    HW_Handle_t hLayer = HW_HANDLE_NONE;
    HW_Result_t result = HW_OSD_GetLayerHandle(&osdLayerId, &hLayer);
    if (hLayer == HW_HANDLE_NONE) {
        FAPI_LOGE("Failed to get OSD Layer handle.\n\n");
        return -1;
    }
    HW_Handle_t hWindow = HW_HANDLE_NONE;
    result |= HW_OSD_LayerQueryWindowHandle(hLayer, &hWindow);
    if (hWindow == HW_HANDLE_NONE) {
        FAPI_LOGE("Failed to get OSD Window handle.\n\n");
        return -1;
    }
    if (enable != 0) {
        result |= HW_OSD_LayerShow(hLayer);
        result |= HW_OSD_WindowShow(hWindow);
    } else {
        result |= HW_OSD_WindowHide(hWindow);
        result |= HW_OSD_LayerHide(hLayer);
    }
    return a_vextvfapi_common_hw_err_msg(result);
}

int a_vextvfapi_disptst_set_pq_on_off(unsigned char enable) {
    FAPI_LOGI("[Pattern] a_vextvfapi_disptst_set_pq_on_off, enable = %d\n\n", enable);
    fapi::disp::DispLease lease;
    const HW_Handle_t hDisp = fapi::disp::leaseDisp(lease);
    if (hDisp == HW_HANDLE_NONE) {
        FAPI_LOGE("Failed to get DISP handle.\n\n");
        return -1;
    }
    HW_Result_t result = HW_OK;
    for (const HW_U32 u32Index : {0u, 1u, 2u}) {
        const HW_DISP_PqBlock_t stBlock = {u32Index, enable};
        result |= HW_DISP_SetPictureParam(hDisp, E_HW_DISP_PICTURE_PQ_BLOCK, &stBlock);
    }
    const HW_DISP_Enable_t stMaster = {enable};
    result |= HW_DISP_SetPictureParam(hDisp, E_HW_DISP_PICTURE_PQ_MASTER, &stMaster);
    lease.release();
    return a_vextvfapi_common_hw_err_msg(result);
}

// --- Events
// -----------------------------------------------------------------------------------------------------------

static fapi::EventSlot _eventSlot;

int a_vextvfapi_disptst_reg_callback(fapi_core::VexTvFApiEventCallback_t callback) {
    return _eventSlot.set(callback);
}

int a_vextvfapi_disptst_unreg_callback() {
    return _eventSlot.set(nullptr);
}

int a_vextvfapi_disptst_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                  const fapi_core::VexTvFApiEventCommonObject& b,
                                  const fapi_core::VexTvFApiEventCommonObject& c,
                                  const fapi_core::VexTvFApiEventCommonObject& d) {
    return _eventSlot.notify(event, a, b, c, d);
}
