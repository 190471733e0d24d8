// SPDX-License-Identifier: Apache-2.0
// GPIO pads, and the thread that monitors one of them.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include <atomic>
#include <cerrno>
#include <cstring>

#include <unistd.h>

#include "a_vextvfapi_prphrl_internal.h"
#include "base/fapi_background_task.h"
#include "base/fapi_handle_lease.h"
#include "base/fapi_log.h"
#include "hw3/hw_gpio.h"

namespace {

constexpr int kMonitorFailed = 255;
constexpr unsigned int kStopPollTimes = 10;

struct GpioFamily {
    static constexpr auto getHandle = HW_GPIO_GetHandle;
    static constexpr auto open = HW_GPIO_Open;
    static constexpr auto close = HW_GPIO_Close;
};
using GpioLease = fapi::HandleLease<GpioFamily>;

struct MonitorParams {
    HW_U32 u32PadNum;
    unsigned int u32DelayUs;
    unsigned int u32DebounceCnt;
};

}  // namespace

static HW_Result_t findOrOpen(GpioLease& lease, HW_U32 u32PadNum) {
    const HW_GPIO_HandleParams_t stQuery = {u32PadNum};
    const HW_GPIO_OpenParams_t stParams = {u32PadNum};
    return lease.find(stQuery) == HW_OK ? HW_OK : lease.open(stParams);
}

// --- Single pads -----------------------------------------------------------------------------------------------------

static bool leasePad(GpioLease& lease, unsigned int pad, const char* pszCaller = __builtin_FUNCTION()) {
    if (findOrOpen(lease, pad) != HW_OK) {
        // Contract: the reading operation logs this tag, too.
        FAPI_LOGE_AS(pszCaller, "[control_gpio] Open handle fail\n\n");
    }
    if (lease.handle() == HW_HANDLE_NONE) {
        FAPI_LOGE_AS(pszCaller, "_hGpioHandle is NULL.\n\n");
        return false;
    }
    return true;
}

static int closePad(GpioLease& lease, const char* pszCaller = __builtin_FUNCTION()) {
    if (lease.release() != HW_OK) {
        // Contract: the driving operation logs this tag, too.
        FAPI_LOGE_AS(pszCaller, "[gpio_status] gpio close handle fail\n\n");
        return -1;
    }
    return 0;
}

int a_vextvfapi_prphrl_control_gpio(unsigned int pad, unsigned int level) {
    if (level > 1) {
        return -1;
    }
    FAPI_LOGD("[control_gpio] pad = %d, highlow = %d\n\n", pad, level);
    GpioLease lease;
    if (!leasePad(lease, pad)) {
        return -1;
    }
    if (HW_GPIO_SetOutput(lease.handle(), level) != HW_OK) {
        // Contract: only logged; the status reports the handle.
        FAPI_LOGE("[control_gpio] HW_GPIO_SetOutput fail\n\n");
    }
    if (!lease.isOpened()) {
        FAPI_LOGE("[control_gpio] get handle success, no need to close\n\n");
        return 0;
    }
    return closePad(lease);
}

static void logLevel(HW_U8 u8Level, HW_U8 u8Inverted, const char* pszCaller = __builtin_FUNCTION()) {
    if (u8Inverted == 1) {
        FAPI_LOGD_AS(pszCaller, "  ==>Level: %s\n\n", u8Level != 0 ? "Off(level high)" : "On(level low)");
        FAPI_LOGD_AS(pszCaller, "  ==>Invert: TRUE\n\n");
    } else {
        FAPI_LOGD_AS(pszCaller, "  ==>Level: %s\n\n", u8Level != 0 ? "Off(level low)" : "On(level high)");
        FAPI_LOGD_AS(pszCaller, "  ==>Invert: FALSE\n\n");
    }
}

int a_vextvfapi_prphrl_get_gpio_status(unsigned int pad, unsigned char* level) {
    if (pad == 0 || level == nullptr) {
        FAPI_LOGE("[gpio_status] u32PadNum = 0, please check\n\n");
        return -1;
    }
    FAPI_LOGD("[gpio_status] gpio_%d:\n\n", pad);
    GpioLease lease;
    if (!leasePad(lease, pad)) {
        return -1;
    }
    HW_U8 u8Level = 1;
    HW_U8 u8Inverted = 0;
    if (HW_GPIO_GetInput(lease.handle(), &u8Level, &u8Inverted) == HW_OK) {
        *level = u8Level;
        logLevel(u8Level, u8Inverted);
    } else {
        // Contract: only logged, as above.
        FAPI_LOGE("[gpio_status] HW_GPIO_GetInput fail\n\n");
    }
    if (!lease.isOpened()) {
        FAPI_LOGE("[gpio_status] get handle success, no need to close\n\n");
        return 0;
    }
    return closePad(lease);
}

// --- Monitor ---------------------------------------------------------------------------------------------------------

static fapi::BackgroundTask _monitorTask;
// True when the thread ended without clearing the started flag; only a stop clears it.
static std::atomic<bool> _bMonitorEndedStarted{false};
// Written while no thread runs; the thread takes a copy.
static MonitorParams _stMonitorParams;

static void reportMonitorFailure(const char* pszCaller = __builtin_FUNCTION()) {
    FAPI_LOGE_AS(pszCaller, "[gpio monitor] GPIO monitor thread fail\n\n");
    fapi::prphrl::raiseEvent(fapi_core::E_VEXTVFAPI_EVENT_GPIO, kMonitorFailed);
}

static HW_Result_t readPad(const GpioLease& lease, HW_U8& u8Level) {
    HW_U8 u8Inverted = 0;
    return HW_GPIO_GetInput(lease.handle(), &u8Level, &u8Inverted);
}

static void watchPad(const GpioLease& lease, const MonitorParams& stParams, const char* pszCaller) {
    HW_U8 u8Reported = 1;
    if (readPad(lease, u8Reported) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "[gpio monitor] HW_GPIO_GetInput fail\n\n");
        reportMonitorFailure(pszCaller);
        return;
    }
    unsigned int u32Changes = 0;
    while (_monitorTask.isEnabled()) {
        HW_U8 u8Level = 1;
        if (readPad(lease, u8Level) != HW_OK) {
            FAPI_LOGE_AS(pszCaller, "[gpio monitor] HW_GPIO_GetInput fail\n\n");
            reportMonitorFailure(pszCaller);
            _monitorTask.disable();
        } else if (u8Level != u8Reported && ++u32Changes > stParams.u32DebounceCnt) {
            // Readings in between that equal the reported level have not reset the count.
            fapi::prphrl::raiseEvent(fapi_core::E_VEXTVFAPI_EVENT_GPIO, u8Level);
            u8Reported = u8Level;
            u32Changes = 0;
        }
        usleep(stParams.u32DelayUs);
    }
}

static void endMonitor(GpioLease& lease, const char* pszCaller = __builtin_FUNCTION()) {
    if (lease.isOpened()) {
        if (lease.release() != HW_OK) {
            FAPI_LOGE_AS(pszCaller, "[gpio monitor] gpio close handle fail\n\n");
        }
    } else if (lease.handle() != HW_HANDLE_NONE) {
        FAPI_LOGI_AS(pszCaller, "[gpio monitor] get handle success, no need to close\n\n");
    }
    _monitorTask.markStopped();
    FAPI_LOGI_AS(pszCaller, "[gpio monitor]Stop GpioMonitor Task\n\n");
}

// Monitors the pad until disabled. False when the pad cannot be opened: the thread then ends without an event and stays
// marked as started.
static bool monitorPad(GpioLease& lease, const MonitorParams* pstParams, const char* pszCaller = __builtin_FUNCTION()) {
    if (pstParams == nullptr) {
        FAPI_LOGE_AS(pszCaller, "[gpio monitor] Thread params FAIL!\n\n");
        reportMonitorFailure(pszCaller);
        return true;
    }
    const MonitorParams stParams = *pstParams;
    FAPI_LOGI_AS(pszCaller, "[gpio monitor]u32PadNum = %u\n\n", stParams.u32PadNum);
    FAPI_LOGI_AS(pszCaller, "[gpio monitor]u32DelayUs = %u\n\n", stParams.u32DelayUs);
    FAPI_LOGI_AS(pszCaller, "[gpio monitor]u32DebounceCnt = %u\n\n", stParams.u32DebounceCnt);
    if (stParams.u32PadNum == 0) {
        FAPI_LOGE_AS(pszCaller, "[gpio monitor] u32PadNum = 0, please check\n\n");
        reportMonitorFailure(pszCaller);
        return true;
    }
    // Uses its own handle, so operations on other pads cannot affect it.
    if (findOrOpen(lease, stParams.u32PadNum) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "[gpio monitor] Open handle fail\n\n");
        return false;
    }
    if (lease.handle() == HW_HANDLE_NONE) {
        FAPI_LOGE_AS(pszCaller, "[gpio monitor] _hGpioHandle is NULL.\n\n");
        reportMonitorFailure(pszCaller);
        return true;
    }
    watchPad(lease, stParams, pszCaller);
    return true;
}

static void* _a_vextvfapi_prphrl_gpio_monitor_task(void* arg) {
    fapi::nameThisThread("GpioMonitor_Task");
    FAPI_LOGI("[gpio monitor]start GpioMonitor_Task\n\n");
    GpioLease lease;
    if (monitorPad(lease, static_cast<const MonitorParams*>(arg))) {
        endMonitor(lease);
    } else {
        _bMonitorEndedStarted.store(true);
    }
    return nullptr;
}

int a_vextvfapi_prphrl_gpio_monitor_start(unsigned int pad, unsigned int delayUs, unsigned int debounceCnt) {
    FAPI_LOGI("[gpio monitor] Start GPIO[%u] monitor\n\n", pad);
    if (_monitorTask.isStarted()) {
        FAPI_LOGE("[gpio monitor] GPIO monitor started already.\n\n");
        FAPI_LOGE("[gpio monitor] Please call a_vextvfapi_prphrl_gpio_monitor_stop() to stop it first.\n\n");
        return -1;
    }
    _stMonitorParams = {pad, delayUs, debounceCnt};
    _bMonitorEndedStarted.store(false);
    if (_monitorTask.start(_a_vextvfapi_prphrl_gpio_monitor_task, &_stMonitorParams) != 0) {
        FAPI_LOGE("[gpio monitor] GpioMonitor thread create failed!(%s)\n\n", strerror(errno));
        return -1;
    }
    return 0;
}

static void waitForMonitor(const char* pszCaller) {
    FAPI_LOGD_AS(pszCaller, "[gpio monitor] Waitting for GpioMonitor task exit...\n\n");
    sleep(1);
}

int a_vextvfapi_prphrl_gpio_monitor_stop() {
    FAPI_LOGI("[gpio monitor] Stop GpioMonitor\n\n");
    _monitorTask.disable();
    if (fapi::pollUntil(kStopPollTimes, waitForMonitor, [] { return !_monitorTask.isStarted(); })) {
        FAPI_LOGD("[gpio monitor] GpioMonitor task stopped...\n\n");
        return 0;
    }
    FAPI_LOGE("[gpio monitor] Waitting for GpioMonitor task timeout...\n\n");
    if (_bMonitorEndedStarted.load()) {
        // A thread that still runs keeps the flag; this one has ended.
        _monitorTask.markStopped();
    }
    return -1;
}
