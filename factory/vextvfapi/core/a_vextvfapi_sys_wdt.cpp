// SPDX-License-Identifier: Apache-2.0
// The watchdog.
#define FAPI_LOG_TAG "VexTvFApiSystem"
#include <atomic>

#include "a_vextvfapi_sys.h"
#include "base/fapi_log.h"
#include "hw3/hw_wdt.h"

namespace {

constexpr HW_U32 kTimerSeconds = 5;
// A value that the middleware never reports.
constexpr HW_U32 kUnread = 255;

}  // namespace

// Fetched once: the middleware has no call to give it back.
static std::atomic<HW_Handle_t> _hWdtHandle{HW_HANDLE_NONE};
// The state that this library set last. Contract: on before the first call.
static std::atomic<unsigned char> _bWdtEnable{1};

static int obtainWdt(const char* pszCaller = __builtin_FUNCTION()) {
    if (_hWdtHandle.load() != HW_HANDLE_NONE) {
        return 0;
    }
    const HW_WDT_HandleParams_t stQuery = {};
    HW_Handle_t hFound = HW_HANDLE_NONE;
    const HW_Result_t result = HW_WDT_GetHandle(&stQuery, &hFound);
    if (result != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "HW_WDT_GetHandle fail %d, System might not enable watch dog.\n\n", result);
        return -1;
    }
    _hWdtHandle.store(hFound);
    return 0;
}

int _a_vextvfapi_sys_get_wdt_handle() {
    return obtainWdt();
}

// Acknowledges a reboot by the watchdog. Contract: also after a failed reading.
static void acknowledgeReboot(const char* pszCaller = __builtin_FUNCTION()) {
    HW_U32 u32Word = kUnread;
    HW_WDT_GetAttr(_hWdtHandle.load(), E_HW_WDT_ATTR_REBOOT_BY_WDT, nullptr, &u32Word);
    if (u32Word != 0) {
        FAPI_LOGD_AS(pszCaller, "WDT Reboot\n\n");
        HW_WDT_GetAttr(_hWdtHandle.load(), E_HW_WDT_ATTR_REBOOT_ACK, nullptr, &u32Word);
    }
}

int a_vextvfapi_sys_set_wdt(unsigned char enable) {
    FAPI_LOGD("a_vextvfapi_sys_set_wdt = %d\n\n", enable);
    if (obtainWdt() != 0) {
        return -1;
    }
    HW_WDT_Timer_t stTimer = {};
    // Contract: the state is stored also when the middleware refuses.
    if (enable != 0) {
        acknowledgeReboot();
        stTimer.u32Seconds = kTimerSeconds;
        _bWdtEnable.store(1);
        FAPI_LOGD("Resume WDT\n\n");
    } else {
        _bWdtEnable.store(0);
        FAPI_LOGD("Stop WDT\n\n");
    }
    if (HW_WDT_SetAttr(_hWdtHandle.load(), E_HW_WDT_ATTR_SET_TIMER_SEC, &stTimer) != HW_OK) {
        FAPI_LOGE("Set WDT SET_TIMER_SEC Failed.\n\n");
        return -1;
    }
    return 0;
}

int a_vextvfapi_sys_get_wdt_status() {
    if (obtainWdt() != 0) {
        return 0;
    }
    HW_U32 u32Running = kUnread;
    const HW_Result_t result = HW_WDT_GetAttr(_hWdtHandle.load(), E_HW_WDT_ATTR_RUNNING, nullptr, &u32Running);
    if (result != HW_OK) {
        FAPI_LOGE("HW_WDT_GetAttr fail, s32Ret = %d\n", result);
        FAPI_LOGD("WDT is %s\n\n", _bWdtEnable.load() != 0 ? "on" : "off");
        return 0;
    }
    return u32Running == 1 && _bWdtEnable.load() == 1 ? 1 : 0;
}
