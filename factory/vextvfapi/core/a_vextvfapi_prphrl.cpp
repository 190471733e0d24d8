// SPDX-License-Identifier: Apache-2.0
// The peripheral module's start-up, events, and the block keys, which this chip does not have.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include "a_vextvfapi_prphrl_internal.h"

#include "base/fapi_event_slot.h"
#include "base/fapi_hw_result.h"
#include "base/fapi_log.h"
#include "hw3/hw_cec.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_iic.h"
#include "hw3/hw_ir.h"
#include "hw3/hw_sys.h"
#include "hw3/hw_uart.h"

unsigned char fapi::prphrl::u8HdmiPortNumber = 0;

namespace {

// The largest number of ports that the module serves.
constexpr unsigned int kHdmiPortMax = 4;

}  // namespace

void fapi::prphrl::raiseEvent(fapi_core::VexTvFApiEvent event, const fapi_core::VexTvFApiEventCommonObject& object) {
    const fapi_core::VexTvFApiEventCommonObject empty;
    a_vextvfapi_prphrl_nty_event(event, object, empty, empty, empty);
}

void fapi::prphrl::raiseEvent(fapi_core::VexTvFApiEvent event, int value) {
    fapi_core::VexTvFApiEventCommonObject object;
    object.value = value;
    fapi::prphrl::raiseEvent(event, object);
}

int a_vextvfapi_prphrl_init() {
    HW_Result_t result = HW_SYS_Init(nullptr);
    if (result > HW_HAS_INITED) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_SYS_Init(...)!") "\n\n", result);
        return -1;
    }
    result = HW_UART_Init(nullptr);
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_UART_Init(...)!") "\n\n", result);
        return -1;
    }
    int status = _a_vextvfapi_prphrl_extin_Init();
    if (status != 0) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to _extin_Init(...)!") "\n\n", static_cast<unsigned int>(status));
        return -1;
    }
    status = _a_vextvfapi_prphrl_init_cec();
    if (status != 0) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to _a_vextvfapi_prphrl_init_cec(...)!") "\n\n",
                  static_cast<unsigned int>(status));
        return -1;
    }
    result = HW_IIC_Init(nullptr);
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_IIC_Init(...)!") "\n\n", result);
        return -1;
    }
    result = HW_IR_Init(nullptr);
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_IR_Init(...)!") "\n\n", result);
        return -1;
    }
    return 0;
}

int a_vextvfapi_prphrl_deinit() {
    return 0;
}

int _a_vextvfapi_prphrl_init_cec() {
    const HW_CEC_InitParams_t stParams = {};
    return fapi::isBroughtUp(HW_CEC_Init(&stParams)) ? 0 : -1;
}

int _a_vextvfapi_prphrl_extin_Init() {
    const HW_EXTIN_InitParams_t stParams = {};
    const HW_Result_t result = HW_EXTIN_Init(&stParams);
    const bool bFailed = !fapi::isBroughtUp(result);
    if (bFailed) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: failed to HW_EXTIN_Init!") "\n\n", result);
    }
    // The number of ports counts also when the inputs could not be brought up.
    HW_EXTIN_Caps_t stCaps = {};
    HW_EXTIN_GetCaps(&stCaps);
    fapi::prphrl::u8HdmiPortNumber = stCaps.u8HdmiNum;
    if (fapi::prphrl::u8HdmiPortNumber > kHdmiPortMax) {
        FAPI_LOGE(FAPI_RED("Error 0x%x: HDMI device number is over &u!") "\n\n", kHdmiPortMax);
        return -1;
    }
    return bFailed ? -1 : 0;
}

// The module never has a remote-control handle. Contract: these operations exist, and fail.

int a_vextvfapi_prphrl_enable_ir_block_key(unsigned char bEnable) {
    FAPI_LOGE("bEnable: %d\n\n", bEnable);
    FAPI_LOGE("_hIrHandle is NULL.\n\n");
    return -1;
}

int a_vextvfapi_prphrl_add_ir_block_key(unsigned long long scanCode, unsigned long long keyCode) {
    FAPI_LOGE("ScanCode: %lld, KeyCode: %lld\n\n", static_cast<long long>(scanCode), static_cast<long long>(keyCode));
    FAPI_LOGE("_hIrHandle is NULL.\n\n");
    return -1;
}

int a_vextvfapi_prphrl_invert_ir_block_key(unsigned char bEnable) {
    FAPI_LOGE("bEnable: %d\n\n", bEnable);
    FAPI_LOGE("_hIrHandle is NULL.\n\n");
    return -1;
}

// --- Events
// -----------------------------------------------------------------------------------------------------------

static fapi::EventSlot _eventSlot;

int a_vextvfapi_prphrl_reg_callback(fapi_core::VexTvFApiEventCallback_t callback) {
    return _eventSlot.set(callback);
}

int a_vextvfapi_prphrl_unreg_callback() {
    return _eventSlot.set(nullptr);
}

int a_vextvfapi_prphrl_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                 const fapi_core::VexTvFApiEventCommonObject& b,
                                 const fapi_core::VexTvFApiEventCommonObject& c,
                                 const fapi_core::VexTvFApiEventCommonObject& d) {
    return _eventSlot.notify(event, a, b, c, d);
}
