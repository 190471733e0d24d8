// SPDX-License-Identifier: Apache-2.0
// Attributes of the chip.
#define FAPI_LOG_TAG "VexTvFApiSystem"
#include <algorithm>
#include <cstring>

#include "a_vextvfapi_common.h"
#include "a_vextvfapi_sys.h"
#include "base/fapi_log.h"
#include "hw3/hw_sys.h"

namespace {

constexpr unsigned int kPathSize = 128;
constexpr unsigned int kHashSize = 16;

}  // namespace

int a_vextvfapi_sys_get_dataindex_path(unsigned char* path, unsigned int len) {
    if (len < kPathSize) {
        FAPI_LOGE("Buffer is smaller than real buffer.\n");
        return -1;
    }
    if (path == nullptr) {
        FAPI_LOGE("Input parameter is NULL.\n");
        return -1;
    }
    // One byte more than the middleware may write, so that its answer is a text.
    char acPath[kPathSize + 1] = {};
    HW_SYS_AttrBuffer_t stBuffer = {acPath, kPathSize, 0};
    const HW_Result_t result = HW_SYS_GetAttr(E_HW_SYS_ATTR_DATAINDEX_PATH, &stBuffer);
    // Contract: after a failure the caller reads an empty path. Zeros follow up to `len`, and a path of 128 characters
    // fills a buffer of 128 without a terminator.
    const std::size_t length = strnlen(acPath, len);
    std::memcpy(path, acPath, length);
    std::memset(path + length, 0, len - length);
    return a_vextvfapi_common_hw_err_msg(result);
}

static void logHash(const unsigned char* hash, unsigned int u32Size, const char* pszCaller = __builtin_FUNCTION()) {
    FAPI_LOGD_AS(pszCaller, "u32CopiedCustomerHashSize:%04x.\n", u32Size);
    FAPI_LOGD_AS(pszCaller, "pu8CustomerHash = \"\n");
    for (unsigned int i = 0; i < u32Size; ++i) {
        FAPI_LOGD_AS(pszCaller, "0x%02x\n", hash[i]);
    }
    FAPI_LOGD_AS(pszCaller, "\"\n\n");
}

int a_vextvfapi_sys_get_customer_hash(unsigned int size, unsigned char* hash, unsigned int* copied) {
    if (size < kHashSize) {
        FAPI_LOGE("Buffer is smaller than real buffer.\n");
        return -1;
    }
    if (hash == nullptr || copied == nullptr) {
        FAPI_LOGE("Input parameter is NULL.\n");
        return -1;
    }
    unsigned char au8Hash[kHashSize] = {};
    HW_SYS_AttrBuffer_t stBuffer = {au8Hash, kHashSize, 0};
    const HW_Result_t result = HW_SYS_GetAttr(E_HW_SYS_ATTR_CUSTOMER_HASH, &stBuffer);
    if (result != HW_OK) {
        *copied = 0;
        FAPI_LOGE("a_vextvfapi_sys_get_customer_hash fail.\n");
    } else {
        // Through a local copy, because the caller's places may overlap.
        const HW_U32 u32Copied = std::min(stBuffer.u32CopiedSize, kHashSize);
        *copied = u32Copied;
        std::memcpy(hash, au8Hash, u32Copied);
        logHash(hash, u32Copied);
    }
    return a_vextvfapi_common_hw_err_msg(result);
}
