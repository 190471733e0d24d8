// SPDX-License-Identifier: Apache-2.0
// The set's memory at physical addresses: the regions of its memory layout, and the allocations of the IOMMU. Physical
// addresses are not those of the host; only at() and range() lead from one to the other.
#ifndef VSET_EMULATED_MEMORY_H
#define VSET_EMULATED_MEMORY_H

#include <array>
#include <memory>

#include "hw3/hw_os.h"
#include "hw3/hw_sys.h"
#include "vset/sys.h"
#include "vset_family.h"

namespace vset {

// Zeroed host memory, provided on first use, between two pages that fault. A size of whole pages ends right at the
// second.
class GuardedMemory {
public:
    // Throws SetError.
    explicit GuardedMemory(std::size_t size);
    ~GuardedMemory();
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    HW_U8* data() const { return _pu8Data; }

private:
    std::size_t _mappedSize;
    void* _pMapped;
    HW_U8* _pu8Data;
};

// Safe to use from any thread.
class EmulatedMemory : public FamilyModel {
public:
    EmulatedMemory() : FamilyModel(FamilyId::os, "HW_OS") {}

    HW_Result_t describeRegion(HW_U32 u32MmapId, HW_SYS_MmapInfo_t* pstInfo);
    HW_Result_t allocateRegion(HW_U32 u32MmapId, HW_SYS_MmapInfo_t* pstInfo);
    HW_Result_t freeRegion(HW_U32 u32MmapId);
    // Throws SetError.
    void resizeRegion(HW_U32 u32MmapId, HW_U32 u32Size);

    HW_Result_t allocateIommu(const std::string& strName, HW_U32 u32Length, HW_U64* pu64PhysAddr);
    HW_Result_t freeIommu(HW_U64 u64PhysAddr, HW_U32 u32Length);
    void setIommuMemory(std::uint64_t u64Size);

    // Returns the host's address, or null when nothing is addressable there.
    HW_U8* at(HW_U64 u64PhysAddr) const { return range(u64PhysAddr, 1).get(); }
    // Returns the host's addresses of a range. The bytes stay readable while the returned object lives, even when they
    // are freed meanwhile.
    std::shared_ptr<HW_U8> range(HW_U64 u64PhysAddr, HW_U64 u64Length) const;
    // Returns a range of the host's addresses, which stays readable in the same way.
    std::shared_ptr<HW_U8> hostRange(HW_U64 u64VirtAddr, HW_U64 u64Length) const;

    std::vector<sys::MemoryArea> map() const;

private:
    // A region of the memory layout of a new set.
    struct Layout {
        HW_U32 u32MmapId;
        const char* pszName;
        HW_U32 u32Miu;
        HW_U64 u64MiuBase;
        HW_U64 u64Offset;
        HW_U32 u32Length;
        bool bAlwaysAddressable;

        HW_U64 start() const { return u64MiuBase + u64Offset; }
    };
    struct Region {
        const Layout* pstLayout;
        HW_U32 u32Length;
        bool bAllocated;
    };
    // The addressable ranges.
    struct Area {
        std::string strName;
        HW_U32 u32MmapId;  // 0 for memory of the IOMMU
        HW_U32 u32Length;
        std::shared_ptr<GuardedMemory> memory;

        // Returns null when the area does not contain the range.
        std::shared_ptr<HW_U8> range(HW_U64 u64Offset, HW_U64 u64Length) const;
    };
    static const Layout kLayouts[2];

    void reset() override;
    // Returns null when the set has no such region.
    Region* find(HW_U32 u32MmapId);
    static void describe(const Region& stRegion, HW_SYS_MmapInfo_t* pstInfo);
    void makeAddressable(const Region& stRegion);

    mutable std::mutex _mutex;
    std::vector<Region> _regions;
    std::map<HW_U64, Area> _areas;  // by physical address
    HW_U64 _u64NextIommu = 0;
    std::uint64_t _u64IommuMemory = 0;
};

extern EmulatedMemory& emulatedMemory;

}  // namespace vset

#endif
