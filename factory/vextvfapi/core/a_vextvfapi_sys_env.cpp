// SPDX-License-Identifier: Apache-2.0
// Boot environment variables in flash.
#define FAPI_LOG_TAG "VexTvFApiSystem"
#include <cstring>
#include <memory>
#include <new>

#include "a_vextvfapi_sys_internal.h"
#include "base/fapi_log.h"

namespace {

// A value as the middleware exchanges it, and a last byte of 0 as its end.
struct EnvValue {
    HW_U8 au8Text[HW_FLASH_ENV_VALUE_SIZE + 1] = {};

    std::size_t length() const { return std::strlen(reinterpret_cast<const char*>(au8Text)); }
};

// One environment image. Each operation has its own status for a failed allocation.
using EnvImage = std::unique_ptr<HW_U8[]>;

}  // namespace

static EnvImage newEnvImage() {
    return EnvImage(new (std::nothrow) HW_U8[HW_FLASH_ENV_IMAGE_SIZE]());
}

static HW_Result_t readEnvVar(HW_Handle_t hFlash, HW_U8* pu8Image, const unsigned char* key, EnvValue& stValue) {
    const HW_FLASH_EnvVar_t stVar = {pu8Image, key, stValue.au8Text};
    return HW_FLASH_GetEnvVar(hFlash, &stVar);
}

static int getFromFlash(HW_Handle_t hFlash, const unsigned char* key, unsigned char* value, unsigned int size,
                        const char* pszCaller = __builtin_FUNCTION()) {
    const EnvImage image = newEnvImage();
    if (image == nullptr) {
        FAPI_LOGE_AS(pszCaller, "Allocate Memory Fail!!!!\n\n");
        return -4;
    }
    if (HW_FLASH_LoadEnv(hFlash, image.get()) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "Read flash data failed!!\n\n");
        return -1;
    }
    EnvValue stValue;
    if (readEnvVar(hFlash, image.get(), key, stValue) != HW_OK) {
        // Contract: the text names eMMC whatever the flash type is.
        FAPI_LOGE_AS(pszCaller, "Get new env from emmc failed!! \n\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "%s = %s\n\n", key, stValue.au8Text);
    const std::size_t length = stValue.length();
    if (length > size) {
        FAPI_LOGE_AS(pszCaller, "[flash] The value size overflow.\n\n");
        return -2;
    }
    // Contract: without a terminating NUL.
    std::memcpy(value, stValue.au8Text, length);
    return 0;
}

static int verifyInFlash(HW_Handle_t hFlash, HW_U8* pu8Image, const unsigned char* key, const EnvValue& stWritten,
                         const char* pszCaller = __builtin_FUNCTION()) {
    if (HW_FLASH_LoadEnv(hFlash, pu8Image) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "Read flash data failed!! \n\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "HW_FLASH_LoadEnv OK\n\n");
    EnvValue stRead;
    if (readEnvVar(hFlash, pu8Image, key, stRead) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "Get new env from emmc failed!! \n\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "HW_FLASH_GetEnvVar OK\n\n");
    if (std::strcmp(reinterpret_cast<const char*>(stWritten.au8Text), reinterpret_cast<const char*>(stRead.au8Text)) !=
        0) {
        FAPI_LOGE_AS(pszCaller, "Write env fail!!!!\n\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "Write env success!!!!\n\n");
    return 0;
}

static int setInFlash(HW_Handle_t hFlash, const unsigned char* key, const unsigned char* value,
                      const char* pszCaller = __builtin_FUNCTION()) {
    const EnvImage image = newEnvImage();
    if (image == nullptr) {
        // Contract: -1, not the -4 of the reading operation.
        FAPI_LOGE_AS(pszCaller, "Allocate Memory Fail!!!!\n\n");
        return -1;
    }
    if (HW_FLASH_LoadEnv(hFlash, image.get()) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "Read flash data failed!! \n\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "HW_FLASH_LoadEnv  OK\n\n");

    EnvValue stValue;
    std::memcpy(stValue.au8Text, value, strnlen(reinterpret_cast<const char*>(value), HW_FLASH_ENV_VALUE_SIZE - 1));
    const HW_FLASH_EnvVar_t stVar = {image.get(), key, stValue.au8Text};
    if (HW_FLASH_SetEnvVar(hFlash, &stVar) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "Set new env failed!!\n\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "HW_FLASH_SetEnvVar OK\n\n");
    if (HW_FLASH_StoreEnv(hFlash, image.get()) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "Store env failed!!\n\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "HW_FLASH_StoreEnv OK\n\n");
    return verifyInFlash(hFlash, image.get(), key, stValue, pszCaller);
}

// Finds the flash open, or opens it.
static HW_Result_t findOrOpenFlash(fapi::sys::FlashLease& lease, HW_FLASH_Type_e type,
                                   const char* pszCaller = __builtin_FUNCTION()) {
    HW_FLASH_HandleParams_t stQuery = {};
    stQuery.u32FlashType = type;
    if (lease.find(stQuery) == HW_OK) {
        return HW_OK;
    }
    FAPI_LOGE_AS(pszCaller, "[flash] Get handle fail, try to open it.\n\n");
    HW_FLASH_OpenParams_t stParams = {};
    stParams.u32FlashType = type;
    return lease.open(stParams);
}

int _a_vextvfapi_sys_get_flash_handle(int& handle, HW_FLASH_Type_e type, unsigned char& opened) {
    fapi::sys::FlashLease lease;
    const HW_Result_t result = findOrOpenFlash(lease, type);
    handle = result == HW_OK ? static_cast<int>(lease.handle()) : 0;
    opened = lease.keepOpen() ? 1 : 0;
    return static_cast<int>(result);
}

bool fapi::sys::leaseFlash(FlashLease& lease, HW_FLASH_Type_e type, const char* pszCaller) {
    if (findOrOpenFlash(lease, type, pszCaller) != HW_OK || lease.handle() == HW_HANDLE_NONE) {
        FAPI_LOGE_AS(pszCaller, "[flash] Obtain handle fail.\n\n");
        return false;
    }
    return true;
}

int fapi::sys::closeFlash(FlashLease& lease, int s32Status, const char* pszCaller) {
    if (lease.release() != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "flash close handle fail\n\n");
        return -1;
    }
    return s32Status;
}

int _a_vextvfapi_sys_get_env_var(const unsigned char* key, unsigned char* value, unsigned int size,
                                 HW_FLASH_Type_e type) {
    if (key == nullptr || value == nullptr) {
        FAPI_LOGE("Null of key or value.\n\n");
        return -2;
    }
    fapi::sys::FlashLease lease;
    if (!fapi::sys::leaseFlash(lease, type)) {
        return -1;
    }
    return fapi::sys::closeFlash(lease, getFromFlash(lease.handle(), key, value, size));
}

int _a_vextvfapi_sys_set_env_var(const unsigned char* key, const unsigned char* value, HW_FLASH_Type_e type) {
    if (key == nullptr || value == nullptr) {
        FAPI_LOGE("Null of key or value.\n\n");
        return -2;
    }
    FAPI_LOGD("Set %s = %s\n\n", key, value);
    if (std::strlen(reinterpret_cast<const char*>(value)) + 1 >= HW_FLASH_ENV_VALUE_SIZE) {
        FAPI_LOGE("[flash] The value size overflow.\n\n");
        return -2;
    }
    fapi::sys::FlashLease lease;
    if (!fapi::sys::leaseFlash(lease, type)) {
        return -1;
    }
    FAPI_LOGD("handle  = 0x%x\n\n", lease.handle());
    return fapi::sys::closeFlash(lease, setInFlash(lease.handle(), key, value));
}

int a_vextvfapi_sys_get_emmc_env_var(const unsigned char* key, unsigned char* value, unsigned int size) {
    return _a_vextvfapi_sys_get_env_var(key, value, size, E_HW_FLASH_TYPE_EMMC);
}

int a_vextvfapi_sys_set_emmc_env_var(const unsigned char* key, const unsigned char* value) {
    return _a_vextvfapi_sys_set_env_var(key, value, E_HW_FLASH_TYPE_EMMC);
}
