// SPDX-License-Identifier: Apache-2.0
// The input source module's start-up, the picture on screen, and events.
#define FAPI_LOG_TAG "VexTvFApiInputSource"
#include "a_vextvfapi_inpsrc.h"

#include <iterator>
#include <limits>

#include "a_vextvfapi_common.h"
#include "a_vextvfapi_disp_internal.h"
#include "base/fapi_event_slot.h"
#include "base/fapi_hw_result.h"
#include "base/fapi_log.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_tuner.h"
#include "hw3/hw_video.h"

namespace {

constexpr unsigned int kTypes = E_HW_EXTIN_TYPE_NUM;
constexpr unsigned int kTvStandardMax = E_HW_EXTIN_TV_SYSTEM_LAST;

// Numbers of the picture's sources.
constexpr unsigned char kNoInput = 28;
constexpr unsigned char kUnknownInput = 45;

constexpr unsigned int kAnyNumber = std::numeric_limits<unsigned int>::max();

struct SourceNumbers {
    unsigned int u32Indices;
    unsigned char u8First;
    bool bSame;  // one number for all indices
};
constexpr SourceNumbers kSources[kTypes] = {
    {4, 23, false},         // HDMI
    {3, 16, false},         // YPbPr
    {kAnyNumber, 0, true},  // VGA
    {8, 2, false},          // CVBS
    {4, 11, false},         // S-Video
    {2, 20, false},         // SCART
    {kAnyNumber, 1, true},  // video decoder
};

}  // namespace

static unsigned char sourceNumber(unsigned int u32Type, unsigned int u32Index) {
    const SourceNumbers& stSource = kSources[u32Type];
    if (u32Index >= stSource.u32Indices) {
        return kUnknownInput;
    }
    return static_cast<unsigned char>(stSource.u8First + (stSource.bSame ? 0 : u32Index));
}

namespace {

// The current window and its input. The lease closes the window.
struct OnScreen {
    fapi::disp::DispLease lease;
    HW_Handle_t hDisp = HW_HANDLE_NONE;
    int s32Video = 0;
    int s32Extin = 0;
};

}  // namespace

static unsigned int _u32ExtHwCaps[kTypes];
static unsigned int _u32LastStandard = E_HW_EXTIN_TV_SYSTEM_NONE;

// --- Start-up --------------------------------------------------------------------------------------------------------

int a_vextvfapi_inpsrc_init() {
    const HW_EXTIN_InitParams_t stExtin = {};
    const HW_Result_t extin = HW_EXTIN_Init(&stExtin);
    if (!fapi::isBroughtUp(extin)) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_EXTIN_Init!") "\n\n", extin);
    }
    HW_EXTIN_Caps_t stCaps = {};
    static_cast<void>(HW_EXTIN_GetCaps(&stCaps));
    const HW_U8 au8Counts[kTypes] = {stCaps.u8HdmiNum,   stCaps.u8YpbprNum, stCaps.u8VgaNum, stCaps.u8CvbsNum,
                                     stCaps.u8SvideoNum, stCaps.u8ScartNum, stCaps.u8VdNum};
    for (unsigned int i = 0; i < kTypes; ++i) {
        _u32ExtHwCaps[i] = au8Counts[i];
    }
    const HW_TUNER_InitParams_t stTuner = {};
    const HW_Result_t tuner = HW_TUNER_Init(&stTuner);
    if (!fapi::isBroughtUp(tuner)) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_TUNER_Init!") "\n\n", tuner);
    }
    return fapi::isBroughtUp(extin) && fapi::isBroughtUp(tuner) ? 0 : -1;
}

int a_vextvfapi_inpsrc_deinit() {
    const HW_Result_t result = HW_EXTIN_DeInit();
    if (result != HW_OK) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_EXTIN_DeInit!") "\n\n", result);
        return -1;
    }
    return 0;
}

// --- What is on screen -----------------------------------------------------------------------------------------------

static bool lookAtScreen(OnScreen& stScreen, const char* pszCaller = __builtin_FUNCTION()) {
    stScreen.hDisp = fapi::disp::leaseDisp(stScreen.lease);
    if (stScreen.hDisp == HW_HANDLE_NONE) {
        FAPI_LOGE_AS(pszCaller, "Failed to get DISP handle.\n\n");
        return false;
    }
    if (!_a_vextvfapi_disp_get_on_screen_input(static_cast<int>(stScreen.hDisp), &stScreen.s32Video,
                                               &stScreen.s32Extin)) {
        FAPI_LOGE_AS(pszCaller, "Failed to get on screen input.\n\n");
        return false;
    }
    return true;
}

// Finds the index of an input among those of a type.
static bool findIndex(unsigned int u32Type, HW_Handle_t hExtin, unsigned int& u32Index,
                      const char* pszCaller = __builtin_FUNCTION()) {
    FAPI_LOGD_AS(pszCaller, "_u32ExtHwCaps[%d] = %d\n\n", u32Type, _u32ExtHwCaps[u32Type]);
    if (_u32ExtHwCaps[u32Type] == 0) {
        FAPI_LOGE_AS(pszCaller, "Doesn't support Type:%d\n\n", u32Type);
    }
    for (u32Index = 0; u32Index < _u32ExtHwCaps[u32Type]; ++u32Index) {
        FAPI_LOGD_AS(pszCaller, "Try to get type: %d, idx: %d handle\n\n", u32Type, u32Index);
        HW_EXTIN_HandleParams_t stQuery = {};
        stQuery.u32Type = u32Type;
        stQuery.u32Index = u32Index;
        HW_Handle_t hFound = HW_HANDLE_NONE;
        if (HW_EXTIN_GetHandle(&stQuery, &hFound) != HW_OK) {
            FAPI_LOGD_AS(pszCaller, "ExtinType %d Get Handle Fail\n\n", u32Type);
            continue;
        }
        // Contract: the error level of this line and of others below, which are no failures.
        FAPI_LOGE_AS(pszCaller, "Get Input Src Handle Done\n");
        if (hFound != HW_HANDLE_NONE && hFound == hExtin) {
            return true;
        }
    }
    return false;
}

int _a_vextvfapi_inpsrc_get_src_by_extin_handle(int hExtin, unsigned char* pu8InputSource, unsigned char bType) {
    if (hExtin == 0) {
        FAPI_LOGE("Invalid hExtin handle\n");
        return -1;
    }
    if (pu8InputSource == nullptr) {
        FAPI_LOGE("pu8InputSource is null\n");
        return -1;
    }
    unsigned int u32Type = 0;
    unsigned int u32Index = 0;
    while (u32Type < kTypes && !findIndex(u32Type, static_cast<HW_Handle_t>(hExtin), u32Index)) {
        ++u32Type;
    }
    if (u32Type == kTypes) {
        return -1;
    }
    FAPI_LOGI("HW_DISP connect hw_extin:0x%X, Type %d Device %d Connected \n\n", static_cast<unsigned int>(hExtin),
              u32Type, u32Index);
    if (bType == 0) {
        *pu8InputSource = sourceNumber(u32Type, u32Index);
        FAPI_LOGD("hExtin: 0x%x, dev_enum:0x%x\n\n", static_cast<unsigned int>(hExtin), *pu8InputSource);
    } else {
        *pu8InputSource = static_cast<unsigned char>(u32Type);
        FAPI_LOGD("hExtin: 0x%x, Type:0x%x\n\n", static_cast<unsigned int>(hExtin), *pu8InputSource);
    }
    return 0;
}

// Identifies the source that is on screen. Returns a code of the middleware.
static HW_Result_t identifySource(const OnScreen& stScreen, unsigned char* pSrc, unsigned char bType,
                                  const char* pszCaller = __builtin_FUNCTION()) {
    if (stScreen.s32Video == 0 && stScreen.s32Extin == 0) {
        FAPI_LOGD_AS(pszCaller, "HW_DISP:0x%x didn't connect any input on-screen connection! \n\n", stScreen.hDisp);
        return HW_OK;
    }
    if (stScreen.s32Video != 0) {
        // The digital path.
        FAPI_LOGE_AS(pszCaller, "HW_DISP connect hw_video:0x%x in on-screen connection! \n\n",
                     static_cast<unsigned int>(stScreen.s32Video));
        return HW_OK;
    }
    if (_a_vextvfapi_inpsrc_get_src_by_extin_handle(stScreen.s32Extin, pSrc, bType) != 0) {
        FAPI_LOGE_AS(pszCaller, "_a_vextvfapi_inpsrc_get_src_by_extin_handle failed!\n\n");
        return HW_ERR_FAILED;
    }
    return HW_OK;
}

int _a_vextvfapi_inpsrc_get_current_input_source(unsigned char* pSrc, unsigned char bType) {
    if (pSrc == nullptr) {
        FAPI_LOGE("Invalid parameter\n");
        return -1;
    }
    *pSrc = bType != 0 ? static_cast<unsigned char>(kTypes) : kNoInput;
    OnScreen stScreen;
    if (!lookAtScreen(stScreen)) {
        return -1;
    }
    const HW_Result_t result = identifySource(stScreen, pSrc, bType);
    stScreen.lease.release();
    return a_vextvfapi_common_hw_err_msg(result);
}

int a_vextvfapi_inpsrc_get_current_input_source(unsigned char* pSrc) {
    return _a_vextvfapi_inpsrc_get_current_input_source(pSrc, 0);
}

int a_vextvfapi_inpsrc_get_current_input_source_type(unsigned char* pSrc) {
    return _a_vextvfapi_inpsrc_get_current_input_source(pSrc, 1);
}

// --- Standard and timing ---------------------------------------------------------------------------------------------

int _a_vextvfapi_inpsrc_get_video_standard(unsigned char* pu8Val) {
    if (pu8Val == nullptr) {
        FAPI_LOGE("pu8Val is null.\n\n");
        return -2;
    }
    OnScreen stScreen;
    if (!lookAtScreen(stScreen)) {
        return -1;
    }
    unsigned char u8Type = 0;
    if (_a_vextvfapi_inpsrc_get_src_by_extin_handle(stScreen.s32Extin, &u8Type, 1) != 0) {
        FAPI_LOGE("Get current src type failed.\n\n");
        return -1;
    }
    // 7 and 8 are digital television, which is no external input.
    if (u8Type == E_HW_EXTIN_TYPE_HDMI || u8Type == 7 || u8Type == 8) {
        FAPI_LOGE("Digital src doesn't support to get video standard.\n\n");
        return -2;
    }
    const HW_Result_t result =
        HW_EXTIN_DetectTvSystem(static_cast<HW_Handle_t>(stScreen.s32Extin), 1, &_u32LastStandard);
    *pu8Val = static_cast<unsigned char>(_u32LastStandard);
    if (result != HW_OK) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_EXTIN_DetectTvSystem!") "\n\n", result);
        return -1;
    }
    if (_u32LastStandard > kTvStandardMax) {
        FAPI_LOGE("Not detected video standard[%u]\n", _u32LastStandard);
        return -1;
    }
    FAPI_LOGD("Detected video standard[%u]\n", _u32LastStandard);
    FAPI_LOGD(FAPI_RED("get video standard success!!!") "\n\n");
    return 0;
}

int a_vextvfapi_inpsrc_get_video_standard(unsigned char* pu8Val) {
    return _a_vextvfapi_inpsrc_get_video_standard(pu8Val);
}

static void logTiming(const fapi_core::VexTvFApiVideoTiming& timing, const char* pszCaller) {
    FAPI_LOGD_AS(pszCaller, "Height : %d Width : %d\n\n", timing.u32Height, timing.u32Width);
    if (timing.u8Interlaced == 1) {
        FAPI_LOGD_AS(pszCaller, "Interlace\n\n");
    } else {
        FAPI_LOGD_AS(pszCaller, "Progressive\n\n");
    }
    // Contract: the fraction has no leading zeros.
    FAPI_LOGD_AS(pszCaller, "Frame Rate : %d.%d (Hz)\n\n", timing.u32FrameRate / 1000, timing.u32FrameRate % 1000);
}

static HW_Result_t readVideoTiming(HW_Handle_t hVideo, fapi_core::VexTvFApiVideoTiming& timing,
                                   const char* pszCaller = __builtin_FUNCTION()) {
    HW_VIDEO_Info_t stInfo = {};
    const HW_Result_t result = HW_VIDEO_GetAttr(hVideo, E_HW_VIDEO_ATTR_INFO, nullptr, &stInfo);
    timing = {stInfo.u16Width, stInfo.u16Height, stInfo.u32FrameRate, stInfo.u8Interlaced};
    FAPI_LOGD_AS(pszCaller, "Video Information from 0x%X\n\n", hVideo);
    logTiming(timing, pszCaller);
    return result;
}

static HW_Result_t readInputTiming(HW_Handle_t hExtin, fapi_core::VexTvFApiVideoTiming& timing,
                                   const char* pszCaller = __builtin_FUNCTION()) {
    HW_EXTIN_Timing_t stInfo = {};
    const HW_Result_t result = HW_EXTIN_GetAttr(hExtin, E_HW_EXTIN_ATTR_TIMING, nullptr, &stInfo);
    timing = {stInfo.u32Width, stInfo.u32Height, stInfo.u32FrameRate, stInfo.u8Interlaced};
    FAPI_LOGD_AS(pszCaller, "External Input Information from 0x%X\n\n", hExtin);
    logTiming(timing, pszCaller);
    return result;
}

int a_vextvfapi_inpsrc_get_input_timing(fapi_core::VexTvFApiVideoTiming& timing) {
    OnScreen stScreen;
    if (!lookAtScreen(stScreen)) {
        return -1;
    }
    HW_Result_t result = HW_ERR_FAILED;
    if (stScreen.s32Video != 0) {
        result = readVideoTiming(static_cast<HW_Handle_t>(stScreen.s32Video), timing);
    } else if (stScreen.s32Extin != 0) {
        result = readInputTiming(static_cast<HW_Handle_t>(stScreen.s32Extin), timing);
    } else {
        FAPI_LOGE(" hDisp:0x%x didn't connect to any video! \n\n", stScreen.hDisp);
    }
    stScreen.lease.release();
    return a_vextvfapi_common_hw_err_msg(result);
}

// --- Events
// -----------------------------------------------------------------------------------------------------------

static fapi::EventSlot _eventSlot;

int a_vextvfapi_inpsrc_reg_callback(fapi_core::VexTvFApiEventCallback_t callback) {
    return _eventSlot.set(callback);
}

int a_vextvfapi_inpsrc_unreg_callback() {
    return _eventSlot.set(nullptr);
}

int a_vextvfapi_inpsrc_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                 const fapi_core::VexTvFApiEventCommonObject& b,
                                 const fapi_core::VexTvFApiEventCommonObject& c,
                                 const fapi_core::VexTvFApiEventCommonObject& d) {
    return _eventSlot.notify(event, a, b, c, d);
}
