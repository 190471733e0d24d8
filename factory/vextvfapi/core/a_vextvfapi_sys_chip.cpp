// SPDX-License-Identifier: Apache-2.0
// Memory clock spread, firmware upgrade, registers, real-time clock.
#define FAPI_LOG_TAG "VexTvFApiSystem"
#include <atomic>

#include "a_vextvfapi_sys.h"
#include "base/fapi_log.h"
#include "hw3/hw_pm.h"
#include "hw3/hw_sys.h"

// --- Memory clock spread ---------------------------------------------------------------------------------------------

int _a_vextvfapi_sys_get_miu_type_by_idx(unsigned char index) {
    if (index > E_HW_SYS_MIU_2) {
        FAPI_LOGE("Invalid MIU Index.\n\n");
        return -1;
    }
    return index;
}

int a_vextvfapi_sys_set_miu_ssc(unsigned char miu, unsigned short u16Freq, unsigned short u16Ratio, bool bEnable) {
    const int s32Miu = _a_vextvfapi_sys_get_miu_type_by_idx(miu);
    FAPI_LOGD("set miu:%d, u16Freq:%d, u16Ratio:%d, bEnable:%d - \n", s32Miu, u16Freq, u16Ratio, bEnable);
    if (s32Miu < 0 || u16Freq < 20 || u16Freq > 40 || u16Ratio < 1 || u16Ratio > 30) {
        FAPI_LOGE("Invalid parameters.\n\n");
        return -2;
    }
    if (HW_SYS_SetMiuSsc(static_cast<HW_U32>(s32Miu), u16Freq, u16Ratio, bEnable ? 1 : 0) != HW_OK) {
        FAPI_LOGE("failed.\n\n");
        return -1;
    }
    FAPI_LOGD("success.\n\n");
    return 0;
}

// --- Firmware --------------------------------------------------------------------------------------------------------

int _a_vextvfapi_sys_convert_fw_type(unsigned char type) {
    switch (type) {
        case 0:
            return E_HW_SYS_FW_0;
        case 1:
            return E_HW_SYS_FW_TARN;
        default:
            return E_HW_SYS_FW_INVALID;
    }
}

int a_vextvfapi_sys_upgrade_fw(unsigned char type, unsigned char* source) {
    const int s32FwType = _a_vextvfapi_sys_convert_fw_type(type);
    FAPI_LOGD("update the enFwType:%d, src from: %s - \n", s32FwType, fapi::logText(source));
    if (source == nullptr || s32FwType == E_HW_SYS_FW_INVALID) {
        // Contract: the log says success, the status does not.
        FAPI_LOGD("success.\n\n");
        return -2;
    }
    const HW_Result_t result = HW_SYS_UpgradeFw(static_cast<HW_U32>(s32FwType), source);
    if (result != HW_OK) {
        FAPI_LOGE("HW_SYS_UpgradeFw failed with error code = %d.\n\n", result);
        return -1;
    }
    FAPI_LOGD("success.\n\n");
    return 0;
}

int a_vextvfapi_sys_update_panel(const char*, const char*, const char*) {
    return 0;
}

// --- Registers -------------------------------------------------------------------------------------------------------

int a_vextvfapi_sys_read_reg(unsigned int bank, unsigned int offset, unsigned int* value) {
    FAPI_LOGD("read register Bank: 0x%X, Offset: 0x%X\n\n", bank, offset);
    HW_U32 u32RegValue = 0;
    if (hw_sys_ReadReg(bank, offset, &u32RegValue) != HW_OK) {
        FAPI_LOGE("hw_sys_ReadReg %u fail\n\n", value != nullptr ? *value : 0);
        return -1;
    }
    if (value == nullptr) {
        // Contract: the text names a GPIO.
        FAPI_LOGE("\033[31m pu8GpioStatus is invalid \033[m\n\n");
        return -1;
    }
    *value = u32RegValue;
    FAPI_LOGD("u32RegValue: 0x%X \n\n", u32RegValue);
    return 0;
}

int a_vextvfapi_sys_write_reg(unsigned int bank, unsigned int offset, unsigned int value) {
    FAPI_LOGD("write register Bank: 0x%X, Offset: 0x%X, RegValue: 0x%X \n\n", bank, offset, value);
    if (hw_sys_WriteReg(bank, offset, value) != HW_OK) {
        FAPI_LOGD("hw_sys_WriteReg %u fail\n\n", value);
        return -1;
    }
    return 0;
}

// --- Real-time clock -------------------------------------------------------------------------------------------------

// The last handle. Contract: used by a call that neither finds nor opens one.
static std::atomic<HW_Handle_t> _hPmHandle{HW_HANDLE_NONE};

// Finds the clock open, or opens it. True when it was opened here.
static bool obtainPm(const char* pszCaller = __builtin_FUNCTION()) {
    const HW_PM_HandleParams_t stQuery = {};
    HW_Handle_t hPm = HW_HANDLE_NONE;
    if (HW_PM_GetHandle(&stQuery, &hPm) == HW_OK) {
        _hPmHandle.store(hPm);
        return false;
    }
    FAPI_LOGE_AS(pszCaller, "HW_PM_GetHandle() fail\n\n");
    const HW_PM_OpenParams_t stParams = {};
    if (HW_PM_Open(&stParams, &hPm) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "HW_PM_Open() fail\n\n");
        return false;
    }
    _hPmHandle.store(hPm);
    return true;
}

int a_vextvfapi_sys_get_rtc_time(unsigned int* rtcTime) {
    const bool bOpened = obtainPm();
    if (_hPmHandle.load() == HW_HANDLE_NONE) {
        FAPI_LOGE("_hPmHandle is NULL\n\n");
        return -1;
    }
    HW_U32 u32Seconds = 0;
    if (HW_PM_GetRtcTime(_hPmHandle.load(), &u32Seconds) != HW_OK) {
        // Contract: a handle that was opened here stays open; the next call finds it.
        FAPI_LOGE("PM GetRtcTime fail\n\n");
        return -1;
    }
    if (rtcTime != nullptr) {
        *rtcTime = u32Seconds;
        FAPI_LOGD("PM GetRtcTime systemtime = %d\n\n", static_cast<int>(u32Seconds));
    } else {
        FAPI_LOGE("\033[31m pu32RtcTime is NULL \033[m\n\n");
    }
    if (bOpened && HW_PM_Close(_hPmHandle.exchange(HW_HANDLE_NONE)) != HW_OK) {
        FAPI_LOGE("\033[31m HW_PM_Close()... NULL \033[m\n\n");
    }
    return 0;
}
