// SPDX-License-Identifier: Apache-2.0
// Memory of the IOMMU, addresses, and the task delay.
#include "hw3/hw_os.h"

#include <cstring>
#include <thread>

#include "emulated_memory.h"
#include "vset_call.h"

using vset::emulatedMemory;

namespace {

constexpr HW_U32 kIommuUnit = 0x4000;

// Returns the request's name, which may fill its field without an end.
std::string nameOf(const HW_OS_IommuRequest_t* pstRequest) {
    if (pstRequest == nullptr) {
        return {};
    }
    return {pstRequest->acName, strnlen(pstRequest->acName, sizeof(pstRequest->acName))};
}

}  // namespace

HW_Result_t HW_OS_AllocateIommuMemory(HW_OS_IommuRequest_t* pstRequest) {
    const std::string strName = nameOf(pstRequest);
    return vset::call(__func__, {pstRequest}, [&]() -> HW_Result_t {
        if (pstRequest == nullptr || pstRequest->u32Length == 0 || pstRequest->u32Length % kIommuUnit != 0 ||
            pstRequest->u32Word1 != 1 || pstRequest->u32Word0 != 0) {
            return HW_ERR_INVALID_PARAMETER;
        }
        if (vset::systemReadiness() != HW_OK) {
            return HW_ERR_NOT_INITED;
        }
        return emulatedMemory.allocateIommu(strName, pstRequest->u32Length, &pstRequest->u64PhysAddr);
    });
}

HW_Result_t HW_OS_FreeIommuMemory(const HW_OS_IommuRelease_t* pstRelease) {
    return vset::call(__func__, {pstRelease}, [&]() -> HW_Result_t {
        if (pstRelease == nullptr || pstRelease->u32Reserved != 0) {
            return HW_ERR_INVALID_PARAMETER;
        }
        if (vset::systemReadiness() != HW_OK) {
            return HW_ERR_NOT_INITED;
        }
        return emulatedMemory.freeIommu(pstRelease->u64PhysAddr, pstRelease->u32Length);
    });
}

HW_Result_t HW_OS_Pa2NonCachedVa(HW_U64 u64PhysAddr, HW_U64* pu64VirtAddr) {
    return vset::call(__func__, {u64PhysAddr, pu64VirtAddr}, [&]() -> HW_Result_t {
        if (pu64VirtAddr == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        if (vset::systemReadiness() != HW_OK) {
            return HW_ERR_NOT_INITED;
        }
        HW_U8* const pu8Memory = emulatedMemory.at(u64PhysAddr);
        if (pu8Memory == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        *pu64VirtAddr = static_cast<HW_U64>(reinterpret_cast<std::uintptr_t>(pu8Memory));
        return HW_OK;
    });
}

HW_Result_t HW_OS_DelayTask(HW_U32 u32Ms) {
    return vset::call(__func__, {u32Ms}, [&]() -> HW_Result_t {
        const vset::detail::WithoutPower wait;
        std::this_thread::sleep_for(std::chrono::milliseconds(u32Ms));
        return HW_OK;
    });
}
