// SPDX-License-Identifier: Apache-2.0
// The person's door to the set's system attributes and memory. All functions that change something throw SetError.
#ifndef VSET_SYS_H
#define VSET_SYS_H

#include <array>

#include "vset/vset.h"

namespace vset::sys {

// --- Kept in the set's folder ----------------------------------------------------------------------------------------

using CustomerHash = std::array<unsigned char, 16>;
VSET_API CustomerHash customerHash();
VSET_API void setCustomerHash(const CustomerHash& hash);

// The configuration file that names the others.
VSET_API std::string dataIndexPath();
VSET_API void setDataIndexPath(const std::string& strPath);

// --- Memory; after switching on everything is as it was made ---------------------------------------------------------

struct MemoryArea {
    std::string strName;
    std::uint32_t u32MmapId;  // HW_SYS_MmapId_e; 0 for memory of the IOMMU
    std::uint64_t u64Start;   // physical
    std::uint64_t u64Size;
    bool bAddressable;  // a region may have to be allocated first
};

// By physical address.
VSET_API std::vector<MemoryArea> memoryMap();

constexpr std::uint32_t kRegionLimit = 0x10000000;

// Gives a region another size, at most kRegionLimit. What was in it is lost, and so are pointers into it.
VSET_API void resizeRegion(std::uint32_t u32MmapId, std::uint32_t u32Size);

// How much memory the IOMMU has in all: 64 MiB unless told otherwise. What is allocated stays.
VSET_API void setIommuMemory(std::uint64_t u64Size);

}  // namespace vset::sys

#endif
