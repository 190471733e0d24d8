// SPDX-License-Identifier: Apache-2.0
// The chip as a whole: initialization and attributes.
#include "hw3/hw_sys.h"

#include <cstring>

#include "vset/sys.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace {

HW_Result_t getCustomerHash(HW_SYS_AttrBuffer_t& stBuffer) {
    const auto hash = vset::setConfig().au8CustomerHash;
    if (stBuffer.u32BufferSize < hash.size()) {
        return HW_ERR_LIMITION;
    }
    std::memcpy(stBuffer.pBuffer, hash.data(), hash.size());
    stBuffer.u32CopiedSize = static_cast<HW_U32>(hash.size());
    return HW_OK;
}

HW_Result_t getDataIndexPath(const HW_SYS_AttrBuffer_t& stBuffer) {
    const std::string strPath = vset::setConfig().strDataIndexPath;
    if (stBuffer.u32BufferSize <= strPath.size()) {
        return HW_ERR_LIMITION;
    }
    std::memcpy(stBuffer.pBuffer, strPath.c_str(), strPath.size() + 1);
    return HW_OK;
}

}  // namespace

HW_Result_t HW_SYS_Init(const HW_SYS_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t {
        if (pstParams != nullptr && pstParams->u32Reserved != 0) {
            return HW_ERR_INVALID_PARAMETER;
        }
        return vset::initialiseSystem();
    });
}

HW_Result_t HW_SYS_GetAttr(HW_U32 u32Attr, void* pParam) {
    return vset::call(__func__, {u32Attr, pParam}, [&]() -> HW_Result_t {
        auto* pstBuffer = static_cast<HW_SYS_AttrBuffer_t*>(pParam);
        if (pstBuffer == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        if (vset::systemReadiness() != HW_OK) {
            return HW_ERR_NOT_INITED;
        }
        if (u32Attr != E_HW_SYS_ATTR_CUSTOMER_HASH && u32Attr != E_HW_SYS_ATTR_DATAINDEX_PATH) {
            return HW_ERR_NOT_SUPPORT;
        }
        if (pstBuffer->pBuffer == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        return u32Attr == E_HW_SYS_ATTR_CUSTOMER_HASH ? getCustomerHash(*pstBuffer) : getDataIndexPath(*pstBuffer);
    });
}

vset::sys::CustomerHash vset::sys::customerHash() {
    requireSet();
    return setConfig().au8CustomerHash;
}

void vset::sys::setCustomerHash(const CustomerHash& hash) {
    requireSet();
    changeSetConfig([&](SetConfig& stConfig) { stConfig.au8CustomerHash = hash; });
}

std::string vset::sys::dataIndexPath() {
    requireSet();
    return setConfig().strDataIndexPath;
}

void vset::sys::setDataIndexPath(const std::string& strPath) {
    requireSet();
    changeSetConfig([&](SetConfig& stConfig) { stConfig.strDataIndexPath = strPath; });
}
