// SPDX-License-Identifier: Apache-2.0
// The information module: parameters of INI files, events.
#define FAPI_LOG_TAG "VexTvFApiInformation"
#include "a_vextvfapi_info.h"

#include <cstring>

#include <unistd.h>

#include "a_vextvfapi_common.h"
#include "base/fapi_event_slot.h"
#include "base/fapi_log.h"
#include "hw3/hw_sys.h"

int a_vextvfapi_info_init() {
    return 0;
}

int a_vextvfapi_info_deinit() {
    return 0;
}

// Copies the middleware's text, which is null for a key without one.
static int copyValue(const unsigned char* key, const char* pszValue, unsigned char* data, unsigned int size,
                     const char* pszCaller = __builtin_FUNCTION()) {
    if (data == nullptr) {
        FAPI_LOGE_AS(pszCaller, "DataBuf NULL\n\n");
        return -2;
    }
    std::memset(data, 0, size);
    if (pszValue == nullptr) {
        return 0;
    }
    const std::size_t length = std::strlen(pszValue);
    if (length >= size) {
        FAPI_LOGE_AS(pszCaller, "Data overflow.\n\n");
        return -1;
    }
    std::memcpy(data, pszValue, length);  // NOLINT(bugprone-not-null-terminated-result): the caller gets no NUL
    FAPI_LOGD_AS(pszCaller, "%s = %s\n\n", key, data);
    return 0;
}

int a_vextvfapi_info_get_ini_para(const unsigned char* path, const unsigned char* key, unsigned char* data,
                                  unsigned int size) {
    if (path == nullptr || key == nullptr) {
        FAPI_LOGE("Path or Key is invalid.\n\n");
        return -2;
    }
    HW_Handle_t hConfig = HW_HANDLE_NONE;
    const HW_Result_t result = HW_SYS_OpenConfigFile(path, &hConfig);
    if (result != HW_OK) {
        FAPI_LOGD("HW_SYS_OpenConfigFile(%s, ...) is failed.\n\n", path);
        return a_vextvfapi_common_hw_err_msg(result);
    }
    HW_SYS_ConfigData_t stData = {E_HW_SYS_CONFIG_DATA_STRING, 0, nullptr};
    if (HW_SYS_GetConfigData(hConfig, key, &stData) != HW_OK) {
        FAPI_LOGD("HW_SYS_GetConfigData(..., %s, ...) is failed.\n\n", key);
        // Contract: a missing key is no failure; the status is that of the close.
        return a_vextvfapi_common_hw_err_msg(HW_SYS_CloseConfigFile(hConfig));
    }
    const int s32Status = copyValue(key, reinterpret_cast<const char*>(stData.pu8Data), data, size);
    if (HW_SYS_CloseConfigFile(hConfig) != HW_OK) {
        FAPI_LOGE("HW_SYS_CloseConfigFile Failed.\n\n");
        return -1;
    }
    return s32Status;
}

int a_vextvfapi_info_set_ini_para(const unsigned char* path, const unsigned char* key, const unsigned char* data) {
    if (path == nullptr || key == nullptr || data == nullptr) {
        FAPI_LOGE("[a_vextvfapi_info_set_ini_para] Null parameters\n\n");
        return -2;
    }
    HW_Handle_t hConfig = HW_HANDLE_NONE;
    if (HW_SYS_OpenConfigFile(path, &hConfig) != HW_OK) {
        FAPI_LOGE("open config file failed\n\n");
        return -1;
    }
    const auto u32Length = static_cast<HW_U32>(std::strlen(reinterpret_cast<const char*>(data)));
    const HW_SYS_ConfigData_t stData = {E_HW_SYS_CONFIG_DATA_STRING, u32Length, data};
    FAPI_LOGD("[a_vextvfapi_info_set_ini_para] path = %s\n", path);
    FAPI_LOGD("[a_vextvfapi_info_set_ini_para] key= %s\n", key);
    FAPI_LOGD("[a_vextvfapi_info_set_ini_para] data = %s\n", data);
    if (HW_SYS_SetConfigData(hConfig, key, &stData) != HW_OK) {
        FAPI_LOGE("set config file failed\n\n");
        HW_SYS_CloseConfigFile(hConfig);
        return -1;
    }
    if (HW_SYS_CloseConfigFile(hConfig) != HW_OK) {
        FAPI_LOGE("close config file failed\n\n");
        return -1;
    }
    // The new value is on the medium when this operation returns.
    sync();
    FAPI_LOGD("close config file ok\n\n");
    return 0;
}

// --- Events
// -----------------------------------------------------------------------------------------------------------

static fapi::EventSlot _eventSlot;

int a_vextvfapi_info_reg_callback(fapi_core::VexTvFApiEventCallback_t callback) {
    return _eventSlot.set(callback);
}

int a_vextvfapi_info_unreg_callback() {
    return _eventSlot.set(nullptr);
}

int a_vextvfapi_info_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                               const fapi_core::VexTvFApiEventCommonObject& b,
                               const fapi_core::VexTvFApiEventCommonObject& c,
                               const fapi_core::VexTvFApiEventCommonObject& d) {
    return _eventSlot.notify(event, a, b, c, d);
}
