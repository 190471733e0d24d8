// SPDX-License-Identifier: Apache-2.0
// The LED ring around the microphone: white, off, or a cycle of colors.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include <atomic>
#include <cerrno>
#include <cstring>

#include <unistd.h>

#include "a_vextvfapi_prphrl_internal.h"
#include "base/fapi_background_task.h"
#include "base/fapi_hw_result.h"
#include "base/fapi_log.h"
#include "hw3/hw_pm.h"

namespace {

constexpr unsigned int kCycle = 0;
constexpr unsigned int kWhite = 1;
constexpr unsigned int kOff = 2;
constexpr HW_U8 kLedCount = 4;

}  // namespace

// The controller, which operation and cycle thread share: the first to close it takes it from the other.
static std::atomic<HW_Handle_t> _hPm{HW_HANDLE_NONE};
static std::atomic<bool> _bPmOpened{false};
static std::atomic<bool> _bEnableStdLedMonitor{false};

static int obtainPm(const char* pszCaller = __builtin_FUNCTION()) {
    const HW_PM_InitParams_t stInit = {};
    if (!fapi::isBroughtUp(HW_PM_Init(&stInit))) {
        FAPI_LOGE_AS(pszCaller, "HW_PM_Init failed \n\n");
        return -1;
    }
    const HW_PM_HandleParams_t stQuery = {};
    HW_Handle_t hFound = HW_HANDLE_NONE;
    if (HW_PM_GetHandle(&stQuery, &hFound) == HW_OK) {
        _hPm.store(hFound);
        return 0;
    }
    FAPI_LOGE_AS(pszCaller, "HW_PM_GetHandle() fail\n\n");
    const HW_PM_OpenParams_t stOpen = {};
    if (HW_PM_Open(&stOpen, &hFound) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "HW_PM_Open() fail\n\n");
        return -1;
    }
    _hPm.store(hFound);
    _bPmOpened.store(true);
    return 0;
}

// Closes the controller if this source opened it.
static void closePm(const char* pszCaller = __builtin_FUNCTION()) {
    if (!_bPmOpened.exchange(false)) {
        FAPI_LOGD_AS(pszCaller, "PM no open\n\n");
        return;
    }
    HW_PM_Close(_hPm.exchange(HW_HANDLE_NONE));
    FAPI_LOGD_AS(pszCaller, "PM close handle\n\n");
}

namespace {

struct Color {
    HW_U8 u8Red;
    HW_U8 u8Green;
    HW_U8 u8Blue;
    const char* pszSuccess;
    const char* pszFail;
};

constexpr Color kWhiteColor = {0xFF, 0xFF, 0xFF, "HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_WHITE success",
                               "HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_WHITE fail"};
constexpr Color kCycleColors[] = {
    {0xFF, 0x00, 0x00, "HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_RED success",
     "HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_RED fail"},
    {0x00, 0xFF, 0x00, "HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_GREEN success",
     "HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_GREEN fail"},
    {0x00, 0x00, 0xFF, "HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_BLUE success",
     "HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_BLUE fail"},
    {0x00, 0x00, 0x00, "HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_BLACK success",
     "HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_BLACK fail"},
};

}  // namespace

static bool showColor(const Color& color, const char* pszCaller = __builtin_FUNCTION()) {
    HW_PM_LedControl_t stControl = {};
    for (unsigned int i = 0; i < sizeof(stControl.au8Colour); i += 3) {
        stControl.au8Colour[i] = color.u8Red;
        stControl.au8Colour[i + 1] = color.u8Green;
        stControl.au8Colour[i + 2] = color.u8Blue;
    }
    stControl.u8LedCount = kLedCount;
    if (HW_PM_SetAttr(_hPm.load(), E_HW_PM_PARAM_LED_CONTROL, &stControl) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "%s\n\n", color.pszFail);
        return false;
    }
    FAPI_LOGD_AS(pszCaller, "%s\n\n", color.pszSuccess);
    return true;
}

static void* _a_vextvfapi_prphrl_stdFactoryLedMonitor(void*) {
    // A cycle that has begun is shown to its end, also without a handle.
    while (_bEnableStdLedMonitor.load()) {
        for (const Color& color : kCycleColors) {
            if (!showColor(color)) {
                closePm();
            }
            sleep(1);
        }
    }
    closePm();
    FAPI_LOGI("Stop StdFactoryledMonitor Task\n\n");
    return nullptr;
}

static int startCycle(const char* pszCaller = __builtin_FUNCTION()) {
    _bEnableStdLedMonitor.store(true);
    if (fapi::startDetachedThread(_a_vextvfapi_prphrl_stdFactoryLedMonitor, nullptr) != 0) {
        FAPI_LOGE_AS(pszCaller, "StdFactoryLedMonitor thread create failed!(%s)\n\n", strerror(errno));
        closePm(pszCaller);
        return -1;
    }
    return 0;
}

static int showWhite(const char* pszCaller = __builtin_FUNCTION()) {
    _bEnableStdLedMonitor.store(false);
    // Time for a running cycle to finish its step. The cycle may still go on and change the color.
    sleep(1);
    if (!showColor(kWhiteColor, pszCaller)) {
        closePm(pszCaller);
        return -1;
    }
    sleep(2);
    closePm(pszCaller);
    return 0;
}

static int switchOff(const char* pszCaller = __builtin_FUNCTION()) {
    _bEnableStdLedMonitor.store(false);
    sleep(1);
    closePm(pszCaller);
    // No color is written: the LEDs keep the last step's.
    FAPI_LOGD_AS(pszCaller, "HW_PM_SetAttr ParamType_e = ClOSE_LED_CONTROL success\n\n");
    return 0;
}

int a_vextvfapi_prphrl_set_mic_led(unsigned int mode) {
    FAPI_LOGD("a_vextvfapi_prphrl_set_mic_led\n\n");
    if (obtainPm() != 0) {
        return -1;
    }
    switch (mode) {
        case kCycle:
            return startCycle();
        case kWhite:
            return showWhite();
        case kOff:
            return switchOff();
        default:
            closePm();
            return -1;
    }
}
