// SPDX-License-Identifier: Apache-2.0
// The display module's start-up, current window, and events.
#define FAPI_LOG_TAG "VexTvFApiDisplay"
#include "a_vextvfapi_disp_internal.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "base/fapi_event_slot.h"
#include "base/fapi_hw_result.h"
#include "base/fapi_log.h"
#include "dval/dval.h"
#include "hw3/hw_disp.h"
#include "hw3/hw_dispout.h"

namespace {

constexpr const char* kWindowNames[] = {"HW_DISP_HD0", "HW_DISP_HD1", "HW_DISP_SD0"};
constexpr unsigned int kSdWindow = 2;

// More inputs than a window can have.
constexpr HW_U32 kConnectedMax = 16;

}  // namespace

static unsigned int _u32WindowIndex = 0;
HW_Handle_t fapi::disp::hDisp = HW_HANDLE_NONE;

unsigned int fapi::disp::currentWindow() {
    return _u32WindowIndex;
}

const char* fapi::disp::windowName(unsigned int index) {
    return index < std::size(kWindowNames) ? kWindowNames[index] : nullptr;
}

int a_vextvfapi_disp_init() {
    const HW_DISPOUT_InitParams_t stInit = {0};
    const HW_Result_t result = HW_DISPOUT_Init(&stInit);
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE("HW_DISPOUT_Init failed = %d\n", result);
        return -1;
    }
    if (DVAL_Init() != 0) {
        FAPI_LOGE("DVAL_Init failed\n");
        return -1;
    }
    return 0;
}

int a_vextvfapi_disp_deinit() {
    return 0;
}

int a_vextvfapi_disp_switch_window(unsigned int index) {
    _u32WindowIndex = index;
    FAPI_LOGD("[Factory] Switch Window to %d\n\n", index);
    return 0;
}

// --- Handles ---------------------------------------------------------------------------------------------------------

static bool formatWindowName(unsigned int index, fapi::disp::WindowName& stName, const char* pszCaller) {
    const char* const pszName = fapi::disp::windowName(index);
    if (pszName == nullptr) {
        FAPI_LOGE_AS(pszCaller, "Error windowindex: %d\n\n", index);
        return false;
    }
    if (std::snprintf(stName.acText, sizeof(stName.acText), "%s", pszName) < 0) {
        FAPI_LOGE_AS(pszCaller, "[%s(%d)]: do snprintf fail\n", pszCaller, __LINE__);
        return false;
    }
    return true;
}

// Finds a window open, or opens it. Contract: log lines name the exported finder.
static bool leaseWindow(fapi::disp::DispLease& lease, unsigned int index, const char* pszFinder) {
    fapi::disp::WindowName stName;
    if (!formatWindowName(index, stName, pszFinder)) {
        return false;
    }
    if (lease.find(stName) == HW_OK) {
        return true;
    }
    const HW_DISP_OpenParams_t stParams = {index == kSdWindow ? 1u : 0u, stName.acText};
    if (lease.open(stParams) != HW_OK) {
        return false;
    }
    FAPI_LOGD_AS(pszFinder, "Create Disp %s handle by FAPI\n\n", stName.acText);
    return true;
}

HW_Handle_t fapi::disp::leaseDisp(DispLease& lease) {
    return leaseWindow(lease, _u32WindowIndex, "_a_vextvfapi_disp_get_disp_handle") ? lease.handle() : HW_HANDLE_NONE;
}

HW_Handle_t fapi::disp::leaseDisp(DispLease& lease, unsigned int index) {
    return leaseWindow(lease, index, "_a_vextvfapi_disp_get_disp_handle_by_win_idx") ? lease.handle() : HW_HANDLE_NONE;
}

// Leases a window for a caller that keeps it open.
static bool lendWindow(unsigned int* handle, unsigned int index, const char* pszFinder = __builtin_FUNCTION()) {
    fapi::disp::DispLease lease;
    if (handle == nullptr || !leaseWindow(lease, index, pszFinder)) {
        return false;
    }
    *handle = lease.handle();
    return lease.keepOpen();
}

bool _a_vextvfapi_disp_get_disp_handle_by_win_idx(unsigned int* handle, unsigned int index) {
    return lendWindow(handle, index);
}

bool _a_vextvfapi_disp_get_disp_handle(unsigned int* handle) {
    return lendWindow(handle, _u32WindowIndex);
}

// --- What is connected -----------------------------------------------------------------------------------------------

namespace {

enum class Connected { failed, nothing, found };

}  // namespace

// Finds the first module of the kind. The middleware writes as many handles as there are.
static Connected findConnected(HW_Handle_t hDisp, HW_DISP_Module_e eKind, int& s32Module) {
    const HW_DISP_ConnectQuery_t stQuery = {1, eKind, 1};
    HW_U32 u32Count = 0;
    if (HW_DISP_GetConnectedNum(hDisp, &stQuery, &u32Count) != HW_OK) {
        return Connected::failed;
    }
    if (u32Count == 0) {
        return Connected::nothing;
    }
    std::array<HW_Handle_t, kConnectedMax> modules = {};
    if (HW_DISP_GetConnected(hDisp, &stQuery, std::min(u32Count, kConnectedMax), modules.data()) != HW_OK) {
        return Connected::failed;
    }
    s32Module = static_cast<int>(modules[0]);
    return Connected::found;
}

bool _a_vextvfapi_disp_get_on_screen_input(int dispHandle, int* videoHandle, int* extinHandle) {
    if (videoHandle == nullptr || extinHandle == nullptr) {
        return false;
    }
    const HW_Handle_t hDisp = static_cast<HW_Handle_t>(dispHandle);
    Connected eFound = findConnected(hDisp, E_HW_DISP_MODULE_VIDEO, *videoHandle);
    if (eFound == Connected::found) {
        FAPI_LOGD(" HW_DISP connect hw_video:0x%x in on-screen connection! \n\n",
                  static_cast<unsigned int>(*videoHandle));
    }
    if (eFound != Connected::nothing) {
        return eFound == Connected::found;
    }
    eFound = findConnected(hDisp, E_HW_DISP_MODULE_EXTIN, *extinHandle);
    if (eFound == Connected::found) {
        FAPI_LOGD(" HW_DISP connect hw_extin:0x%x in on-screen connection! \n\n",
                  static_cast<unsigned int>(*extinHandle));
    } else if (eFound == Connected::nothing) {
        FAPI_LOGD("HW_DISP:0x%x didn't connect any input on-screen connection! \n\n", hDisp);
    }
    return eFound != Connected::failed;
}

// --- Events
// -----------------------------------------------------------------------------------------------------------

static fapi::EventSlot _eventSlot;

int a_vextvfapi_disp_reg_callback(fapi_core::VexTvFApiEventCallback_t callback) {
    return _eventSlot.set(callback);
}

int a_vextvfapi_disp_unreg_callback() {
    return _eventSlot.set(nullptr);
}

int a_vextvfapi_disp_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                               const fapi_core::VexTvFApiEventCommonObject& b,
                               const fapi_core::VexTvFApiEventCommonObject& c,
                               const fapi_core::VexTvFApiEventCommonObject& d) {
    return _eventSlot.notify(event, a, b, c, d);
}
