// SPDX-License-Identifier: Apache-2.0
// The set's memory at physical addresses.
#include "emulated_memory.h"

#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

namespace vset {

namespace {

constexpr HW_U32 kPage = 0x1000;
constexpr std::uint64_t kIommuMemory = 64u << 20;
// Above 32 bits, so that a truncated address shows. Addresses are never handed out twice while the set is on, and a
// page between two allocations belongs to neither.
constexpr HW_U64 kIommuStart = 0x100000000;

std::size_t roundUp(std::size_t size, std::size_t unit) {
    return (size + unit - 1) / unit * unit;
}

}  // namespace

GuardedMemory::GuardedMemory(std::size_t size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t usable = roundUp(size, page);
    _mappedSize = page + usable + page;
    _pMapped = mmap(nullptr, _mappedSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (_pMapped == MAP_FAILED) {
        throw SetError("no host memory for " + std::to_string(size) + " bytes");
    }
    _pu8Data = static_cast<HW_U8*>(_pMapped) + page;
    if (usable != 0 && mprotect(_pu8Data, usable, PROT_READ | PROT_WRITE) != 0) {
        munmap(_pMapped, _mappedSize);
        throw SetError("no host memory for " + std::to_string(size) + " bytes");
    }
}

GuardedMemory::~GuardedMemory() {
    munmap(_pMapped, _mappedSize);
}

EmulatedMemory& emulatedMemory = *new EmulatedMemory;

const EmulatedMemory::Layout EmulatedMemory::kLayouts[2] = {
    {E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF, "AN_FBDEV_GOP_BUF", E_HW_SYS_MIU_0, 0x20000000, 0x0A000000, 0x1800000, true},
    {E_HW_SYS_MMAP_ID_FACTORY_CANVAS, "FACTORY_CANVAS", E_HW_SYS_MIU_1, 0x60000000, 0x01000000, 0x400000, false},
};

void EmulatedMemory::reset() {
    const std::lock_guard<std::mutex> lock(_mutex);
    _areas.clear();
    _regions.clear();
    for (const Layout& stLayout : kLayouts) {
        _regions.push_back({&stLayout, stLayout.u32Length, false});
        if (stLayout.bAlwaysAddressable) {
            makeAddressable(_regions.back());
        }
    }
    _u64NextIommu = kIommuStart;
    _u64IommuMemory = kIommuMemory;
}

EmulatedMemory::Region* EmulatedMemory::find(HW_U32 u32MmapId) {
    for (Region& stRegion : _regions) {
        if (stRegion.pstLayout->u32MmapId == u32MmapId) {
            return &stRegion;
        }
    }
    return nullptr;
}

void EmulatedMemory::describe(const Region& stRegion, HW_SYS_MmapInfo_t* pstInfo) {
    const Layout& stLayout = *stRegion.pstLayout;
    *pstInfo = {};
    pstInfo->u64MiuBase = stLayout.u64MiuBase;
    pstInfo->u64Offset = stLayout.u64Offset;
    pstInfo->u32Length = stRegion.u32Length;
    pstInfo->u32MmapId = stLayout.u32MmapId;
    pstInfo->u32Miu = stLayout.u32Miu;
    pstInfo->u32Alignment = kPage;
    std::memcpy(pstInfo->au8Name, stLayout.pszName, std::strlen(stLayout.pszName));
}

void EmulatedMemory::makeAddressable(const Region& stRegion) {
    const Layout& stLayout = *stRegion.pstLayout;
    _areas[stLayout.start()] = {stLayout.pszName, stLayout.u32MmapId, stRegion.u32Length,
                                std::make_shared<GuardedMemory>(stRegion.u32Length)};
}

HW_Result_t EmulatedMemory::describeRegion(HW_U32 u32MmapId, HW_SYS_MmapInfo_t* pstInfo) {
    const std::lock_guard<std::mutex> lock(_mutex);
    const Region* pstRegion = find(u32MmapId);
    if (pstRegion == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    describe(*pstRegion, pstInfo);
    return HW_OK;
}

HW_Result_t EmulatedMemory::allocateRegion(HW_U32 u32MmapId, HW_SYS_MmapInfo_t* pstInfo) {
    const std::lock_guard<std::mutex> lock(_mutex);
    Region* const pstRegion = find(u32MmapId);
    if (pstRegion == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    if (pstRegion->bAllocated) {
        return HW_ERR_BUSY;
    }
    if (!pstRegion->pstLayout->bAlwaysAddressable) {
        makeAddressable(*pstRegion);
    }
    pstRegion->bAllocated = true;
    describe(*pstRegion, pstInfo);
    return HW_OK;
}

HW_Result_t EmulatedMemory::freeRegion(HW_U32 u32MmapId) {
    const std::lock_guard<std::mutex> lock(_mutex);
    Region* const pstRegion = find(u32MmapId);
    if (pstRegion == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    if (!pstRegion->bAllocated) {
        return HW_ERR_FAILED;
    }
    if (!pstRegion->pstLayout->bAlwaysAddressable) {
        _areas.erase(pstRegion->pstLayout->start());
    }
    pstRegion->bAllocated = false;
    return HW_OK;
}

void EmulatedMemory::resizeRegion(HW_U32 u32MmapId, HW_U32 u32Size) {
    const std::lock_guard<std::mutex> lock(_mutex);
    Region* const pstRegion = find(u32MmapId);
    const std::string strRegion = "memory region " + std::to_string(u32MmapId);
    if (pstRegion == nullptr) {
        throw SetError(strRegion + ": there is none");
    }
    if (pstRegion->bAllocated) {
        throw SetError(strRegion + ": is allocated");
    }
    if (u32Size > sys::kRegionLimit) {
        throw SetError(strRegion + ": " + std::to_string(u32Size) + " bytes are more than it can have");
    }
    pstRegion->u32Length = u32Size;
    if (pstRegion->pstLayout->bAlwaysAddressable) {
        makeAddressable(*pstRegion);
    }
}

HW_Result_t EmulatedMemory::allocateIommu(const std::string& strName, HW_U32 u32Length, HW_U64* pu64PhysAddr) {
    const std::lock_guard<std::mutex> lock(_mutex);
    std::uint64_t u64Used = 0;
    for (const auto& entry : _areas) {
        u64Used += entry.second.u32MmapId == 0 ? entry.second.u32Length : 0;
    }
    if (u64Used + u32Length > _u64IommuMemory) {
        return HW_ERR_MEMORY_ALLOCATE;
    }
    _areas[_u64NextIommu] = {strName, 0, u32Length, std::make_shared<GuardedMemory>(u32Length)};
    *pu64PhysAddr = _u64NextIommu;
    _u64NextIommu += roundUp(u32Length, kPage) + kPage;
    return HW_OK;
}

HW_Result_t EmulatedMemory::freeIommu(HW_U64 u64PhysAddr, HW_U32 u32Length) {
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _areas.find(u64PhysAddr);
    if (found == _areas.end() || found->second.u32MmapId != 0 || found->second.u32Length != u32Length) {
        return HW_ERR_INVALID_PARAMETER;
    }
    _areas.erase(found);
    return HW_OK;
}

void EmulatedMemory::setIommuMemory(std::uint64_t u64Size) {
    const std::lock_guard<std::mutex> lock(_mutex);
    _u64IommuMemory = u64Size;
}

std::shared_ptr<HW_U8> EmulatedMemory::Area::range(HW_U64 u64Offset, HW_U64 u64Length) const {
    if (u64Offset >= u32Length || u64Length > u32Length - u64Offset) {
        return nullptr;
    }
    return {memory, memory->data() + u64Offset};
}

std::shared_ptr<HW_U8> EmulatedMemory::range(HW_U64 u64PhysAddr, HW_U64 u64Length) const {
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto behind = _areas.upper_bound(u64PhysAddr);
    if (behind == _areas.begin()) {
        return nullptr;
    }
    const auto& [u64Start, stArea] = *std::prev(behind);
    return stArea.range(u64PhysAddr - u64Start, u64Length);
}

std::shared_ptr<HW_U8> EmulatedMemory::hostRange(HW_U64 u64VirtAddr, HW_U64 u64Length) const {
    const std::lock_guard<std::mutex> lock(_mutex);
    for (const auto& entry : _areas) {
        // An address below the area makes the difference larger than any area.
        const HW_U64 u64Offset = u64VirtAddr - reinterpret_cast<std::uintptr_t>(entry.second.memory->data());
        if (auto range = entry.second.range(u64Offset, u64Length)) {
            return range;
        }
    }
    return nullptr;
}

std::vector<sys::MemoryArea> EmulatedMemory::map() const {
    const std::lock_guard<std::mutex> lock(_mutex);
    std::vector<sys::MemoryArea> map;
    for (const Region& stRegion : _regions) {
        const Layout& stLayout = *stRegion.pstLayout;
        map.push_back({stLayout.pszName, stLayout.u32MmapId, stLayout.start(), stRegion.u32Length,
                       stRegion.bAllocated || stLayout.bAlwaysAddressable});
    }
    for (const auto& [u64Start, stArea] : _areas) {
        if (stArea.u32MmapId == 0) {
            map.push_back({stArea.strName, 0, u64Start, stArea.u32Length, true});
        }
    }
    return map;
}

}  // namespace vset
