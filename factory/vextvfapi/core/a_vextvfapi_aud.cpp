// SPDX-License-Identifier: Apache-2.0
// The audio module's start-up, output paths, and events.
#define FAPI_LOG_TAG "VexTvFApiAudio"
#include "a_vextvfapi_aud_internal.h"

#include "base/fapi_event_slot.h"
#include "base/fapi_hw_result.h"
#include "base/fapi_log.h"
#include "hw3/hw_audio.h"

namespace {

struct OutputPath {
    HW_Handle_t hAout;
    // True once this module has opened the path. Contract: never reset, so a path that another client opens later is
    // closed here, too.
    bool bOwned;
};

}  // namespace

static OutputPath _astPaths[HW_AOUT_PATH_COUNT];

HW_Handle_t fapi::aud::pathHandle(unsigned int u32Path) {
    return _astPaths[u32Path].hAout;
}

// --- Start-up --------------------------------------------------------------------------------------------------------

int a_vextvfapi_aud_init() {
    const HW_AUDIO_InitParams_t stAudioParams = {};
    if (!fapi::isBroughtUp(HW_AUDIO_Init(&stAudioParams))) {
        FAPI_LOGE("\033[31m %s(%d)HW_AUDIO_Init() failed.\033[m\n\n", __func__, __LINE__);
        return -1;
    }
    const HW_AOUT_InitParams_t stAoutParams = {};
    if (!fapi::isBroughtUp(HW_AOUT_Init(&stAoutParams))) {
        FAPI_LOGE("\033[31m %s(%d)HW_AOUT_Init() failed.\033[m\n\n", __func__, __LINE__);
        return -1;
    }
    fapi::aud::forgetDolbyDapParam();
    return 0;
}

// Contract: the core goes down before the outputs, and the handles stay remembered.
int a_vextvfapi_aud_deinit() {
    if (HW_AUDIO_DeInit() != HW_OK) {
        FAPI_LOGE("HW_AUDIO_DeInit() failed!\n\n");
        return -1;
    }
    if (HW_AOUT_DeInit() != HW_OK) {
        FAPI_LOGE("HW_AOUT_DeInit() failed!\n\n");
        return -1;
    }
    return 0;
}

// --- Output paths ----------------------------------------------------------------------------------------------------

int a_vextvfapi_aud_open() {
    HW_Handle_t hAout = HW_HANDLE_NONE;
    for (unsigned int u32Path = 0; u32Path < HW_AOUT_PATH_COUNT; ++u32Path) {
        OutputPath& stPath = _astPaths[u32Path];
        const HW_AOUT_HandleParams_t stQuery = {u32Path};
        if (HW_AOUT_GetHandle(&stQuery, &hAout) == HW_OK) {
            stPath.hAout = stPath.hAout == HW_HANDLE_NONE ? hAout : stPath.hAout;
            continue;
        }
        FAPI_LOGE("No Handle for path(%d) get from HW_AOUT_GetHandle, call HW_AOUT_Open()...\n\n", u32Path);
        HW_AOUT_OpenParams_t stParams = {};
        stParams.u32OutPath = u32Path;
        if (HW_AOUT_Open(&stParams, &hAout) != HW_OK) {
            FAPI_LOGE("\033[31m %s(%d)HW_AOUT_Open() with path %d failed!\033[m\n\n", __func__, __LINE__, u32Path);
            continue;
        }
        stPath = {hAout, true};
    }
    return 0;
}

int a_vextvfapi_aud_close() {
    for (OutputPath& stPath : _astPaths) {
        if (stPath.hAout == HW_HANDLE_NONE || !stPath.bOwned) {
            continue;
        }
        if (HW_AOUT_Close(stPath.hAout) != HW_OK) {
            FAPI_LOGE("HW_AOUT_Close() failed!\n\n");
            return -1;
        }
        stPath.hAout = HW_HANDLE_NONE;
    }
    return 0;
}

HW_Handle_t fapi::aud::openMainPath(const char* pszCaller) {
    a_vextvfapi_aud_open();
    if (fapi::aud::pathHandle(fapi::aud::kMainPath) == HW_HANDLE_NONE) {
        FAPI_LOGE_AS(pszCaller, "AOUT handle is not ready!\n\n");
    }
    return fapi::aud::pathHandle(fapi::aud::kMainPath);
}

int fapi::aud::finish(const char* pszCaller) {
    if (a_vextvfapi_aud_close() != 0) {
        FAPI_LOGE_AS(pszCaller, "a_vextvfapi_aud_close() failed!\n\n");
        return -1;
    }
    return 0;
}

int fapi::aud::send(HW_Handle_t hAout, HW_U32 u32Attribute, const void* pValue, const char* pszCaller) {
    if (HW_AOUT_SetAttr(hAout, u32Attribute, pValue) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "HW_AOUT_SetAttr() failed!\n\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "HW_AOUT_SetAttr() OK!\n\n");
    return fapi::aud::finish(pszCaller);
}

// --- Events
// -----------------------------------------------------------------------------------------------------------

static fapi::EventSlot _eventSlot;

int a_vextvfapi_aud_reg_callback(fapi_core::VexTvFApiEventCallback_t callback) {
    return _eventSlot.set(callback);
}

int a_vextvfapi_aud_unreg_callback() {
    return _eventSlot.set(nullptr);
}

int a_vextvfapi_aud_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                              const fapi_core::VexTvFApiEventCommonObject& b,
                              const fapi_core::VexTvFApiEventCommonObject& c,
                              const fapi_core::VexTvFApiEventCommonObject& d) {
    return _eventSlot.notify(event, a, b, c, d);
}
