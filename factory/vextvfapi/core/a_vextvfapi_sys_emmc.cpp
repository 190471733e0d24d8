// SPDX-License-Identifier: Apache-2.0
// Raw transfers from and to eMMC partitions.
#define FAPI_LOG_TAG "VexTvFApiSystem"
#include <cstring>
#include <memory>
#include <new>

#include "a_vextvfapi_sys_internal.h"
#include "base/fapi_log.h"
#include "base/fapi_log_text.h"
#include "base/fapi_memory.h"

static int writeFromBuffer(HW_Handle_t hFlash, HW_FLASH_Transfer_t stTransfer, const unsigned char* data,
                           const char* pszCaller = __builtin_FUNCTION()) {
    FAPI_LOGD_AS(pszCaller, "EMMC Write - \n");
    const std::unique_ptr<HW_U8[]> buffer(new (std::nothrow) HW_U8[stTransfer.u32Length]);
    if (buffer == nullptr) {
        FAPI_LOGE_AS(pszCaller, "\033[1;31mError: Allocate memory fail\n\033[0m\n");
        return -4;
    }
    std::memcpy(buffer.get(), data, stTransfer.u32Length);
    stTransfer.pu8Data = buffer.get();
    HW_U32 u32Report = 0;
    if (HW_FLASH_Write(hFlash, &stTransfer, &u32Report) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "\033[1;31mfailed.\n\033[0m\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "success\n\n");
    return 0;
}

// Reads into a buffer first, because a failed read leaves the caller's data as they are.
static int readThroughBuffer(HW_Handle_t hFlash, HW_FLASH_Transfer_t stTransfer, unsigned char* data,
                             const char* pszCaller = __builtin_FUNCTION()) {
    FAPI_LOGD_AS(pszCaller, "Read from EMMC - \n");
    const auto buffer = fapi::allocateZeroes(stTransfer.u32Length);
    if (buffer == nullptr) {
        FAPI_LOGE_AS(pszCaller, "\033[1;31mError: Allocate memory fail\n\033[0m\n");
        return -4;
    }
    stTransfer.pu8Data = buffer.get();
    HW_U32 u32Report = 0;
    if (HW_FLASH_Read(hFlash, &stTransfer, &u32Report) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "\033[1;31mfailed.\n\033[0m\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "success.\n\n");
    std::memcpy(data, buffer.get(), stTransfer.u32Length);
    return 0;
}

int a_vextvfapi_sys_write_emmc(unsigned char* partition, unsigned int shift, unsigned int length, unsigned char* data) {
    if (partition == nullptr || data == nullptr) {
        return -2;
    }
    FAPI_LOGD("write the partition name:%s, shift:%u, length:%u data:%s\n\n", partition, shift, length,
              fapi::BoundedText(data, length).get());
    fapi::sys::FlashLease lease;
    if (!fapi::sys::leaseFlash(lease, E_HW_FLASH_TYPE_EMMC)) {
        return -1;
    }
    const HW_FLASH_Transfer_t stTransfer = {E_HW_FLASH_TYPE_EMMC, partition, shift, nullptr, length};
    return fapi::sys::closeFlash(lease, writeFromBuffer(lease.handle(), stTransfer, data));
}

int a_vextvfapi_sys_read_emmc(unsigned char* partition, unsigned int shift, unsigned int length, unsigned char* data) {
    if (partition == nullptr || data == nullptr) {
        return -2;
    }
    FAPI_LOGD("read the partition name:%s, shift:%u, length:%u\n\n", partition, shift, length);
    fapi::sys::FlashLease lease;
    if (!fapi::sys::leaseFlash(lease, E_HW_FLASH_TYPE_EMMC)) {
        return -1;
    }
    const HW_FLASH_Transfer_t stTransfer = {E_HW_FLASH_TYPE_EMMC, partition, shift, nullptr, length};
    return fapi::sys::closeFlash(lease, readThroughBuffer(lease.handle(), stTransfer, data));
}
