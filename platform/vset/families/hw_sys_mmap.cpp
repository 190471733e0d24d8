// SPDX-License-Identifier: Apache-2.0
// Regions of the memory layout.
#include "emulated_memory.h"
#include "vset_call.h"
#include "vset_folder.h"

using vset::emulatedMemory;

namespace {

HW_Result_t judge(const HW_SYS_MmapInfo_t* pstInfo) {
    return pstInfo == nullptr ? HW_ERR_INVALID_PARAMETER : vset::systemReadiness();
}

}  // namespace

HW_Result_t HW_SYS_AllocateMmapLayout(HW_U32 u32MmapId, HW_SYS_MmapInfo_t* pstInfo) {
    return vset::call(__func__, {u32MmapId, pstInfo}, [&]() -> HW_Result_t {
        const HW_Result_t result = judge(pstInfo);
        return result == HW_OK ? emulatedMemory.allocateRegion(u32MmapId, pstInfo) : result;
    });
}

HW_Result_t HW_SYS_GetMmapLayout(HW_U32 u32MmapId, HW_SYS_MmapInfo_t* pstInfo) {
    return vset::call(__func__, {u32MmapId, pstInfo}, [&]() -> HW_Result_t {
        const HW_Result_t result = judge(pstInfo);
        return result == HW_OK ? emulatedMemory.describeRegion(u32MmapId, pstInfo) : result;
    });
}

HW_Result_t HW_SYS_FreeMmapLayout(HW_U32 u32MmapId) {
    return vset::call(__func__, {u32MmapId}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::systemReadiness();
        return result == HW_OK ? emulatedMemory.freeRegion(u32MmapId) : result;
    });
}

std::vector<vset::sys::MemoryArea> vset::sys::memoryMap() {
    vset::requireSet();
    return emulatedMemory.map();
}

void vset::sys::resizeRegion(std::uint32_t u32MmapId, std::uint32_t u32Size) {
    vset::requireSet();
    emulatedMemory.resizeRegion(u32MmapId, u32Size);
}

void vset::sys::setIommuMemory(std::uint64_t u64Size) {
    vset::requireSet();
    emulatedMemory.setIommuMemory(u64Size);
}
