// SPDX-License-Identifier: Apache-2.0
// The system module's start-up and events.
#define FAPI_LOG_TAG "VexTvFApiSystem"
#include "a_vextvfapi_sys.h"

#include "a_vextvfapi_common.h"
#include "base/fapi_event_slot.h"
#include "base/fapi_hw_result.h"
#include "base/fapi_log.h"
#include "hw3/hw_flash.h"
#include "hw3/hw_fs.h"
#include "hw3/hw_sys.h"
#include "hw3/hw_wdt.h"

int a_vextvfapi_sys_init() {
    _a_vextvfapi_common_init();

    // Contract: "continue" counts as success for the system, unlike for the families below, and a failure is not
    // logged.
    if (HW_SYS_Init(nullptr) > HW_HAS_INITED) {
        return -1;
    }

    int s32Status = 0;
    const HW_FLASH_InitParams_t stFlashParams = {};
    HW_Result_t result = HW_FLASH_Init(&stFlashParams);
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_FLASH_Init(...)!") "\n\n", result);
        s32Status = -1;
    }

    const HW_FS_InitParams_t stFsParams = {};
    result = HW_FS_Init(&stFsParams);
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_FS_Init(...)!") "\n\n", result);
        s32Status = -1;
    }

    const HW_WDT_InitParams_t stWdtParams = {};
    result = HW_WDT_Init(&stWdtParams);
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_WDT_Init(...)!") "\n\n", result);
        return -1;
    }
    return s32Status;
}

int a_vextvfapi_sys_deinit() {
    return 0;
}

// --- Events
// -----------------------------------------------------------------------------------------------------------

static fapi::EventSlot _eventSlot;

int a_vextvfapi_sys_reg_callback(fapi_core::VexTvFApiEventCallback_t callback) {
    return _eventSlot.set(callback);
}

int a_vextvfapi_sys_unreg_callback() {
    return _eventSlot.set(nullptr);
}

int a_vextvfapi_sys_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                              const fapi_core::VexTvFApiEventCommonObject& b,
                              const fapi_core::VexTvFApiEventCommonObject& c,
                              const fapi_core::VexTvFApiEventCommonObject& d) {
    return _eventSlot.notify(event, a, b, c, d);
}
