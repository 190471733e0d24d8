// SPDX-License-Identifier: Apache-2.0
// The control API of the set's system attributes, registers and memory. All functions that change something throw
// SetError.
#ifndef VSET_SYS_H
#define VSET_SYS_H

#include <array>

#include "vset/vset.h"

namespace vset::sys {

// --- Kept in the set's folder ----------------------------------------------------------------------------------------

using CustomerHash = std::array<unsigned char, 16>;
VSET_API CustomerHash customerHash();
VSET_API void setCustomerHash(const CustomerHash& hash);

// Returns or sets the path of the configuration file that names the others.
VSET_API std::string dataIndexPath();
VSET_API void setDataIndexPath(const std::string& strPath);

// --- What programs have set; after switching on nothing has been -----------------------------------------------------

struct ClockSpread {
    unsigned short u16Freq = 0;  // in the units of the chip
    unsigned short u16Ratio = 0;
    bool bOn = false;
};
constexpr unsigned int kMius = 3;
// Returns the spread of a memory interface. Throws SetError when there is no such interface.
VSET_API ClockSpread clockSpread(unsigned int u32Miu);

struct Firmware {
    std::uint32_t u32Type;  // HW_SYS_FwType_e
    std::string strPath;    // the set's path that it came from
    std::uint64_t u64Size;
    std::uint32_t u32Crc32;  // of all bytes, as zlib's crc32 has it
};
// Returns the flashed firmware, oldest first.
VSET_API std::vector<Firmware> flashedFirmware();

// Returns a register of the chip, 0 until it is written.
VSET_API std::uint32_t readRegister(std::uint32_t u32Bank, std::uint32_t u32Offset);

// A register that has been written since the set was switched on; writtenRegisters() sorts by bank and offset.
struct WrittenRegister {
    std::uint32_t u32Bank;
    std::uint32_t u32Offset;
    std::uint32_t u32Value;
};
VSET_API std::vector<WrittenRegister> writtenRegisters();
VSET_API void writeRegister(std::uint32_t u32Bank, std::uint32_t u32Offset, std::uint32_t u32Value);

// --- Memory; after switching on everything is as it was made ---------------------------------------------------------

struct MemoryArea {
    std::string strName;
    std::uint32_t u32MmapId;  // HW_SYS_MmapId_e; 0 for memory of the IOMMU
    std::uint64_t u64Start;   // physical
    std::uint64_t u64Size;
    bool bAddressable;  // a region may have to be allocated first
};

// Returns the memory areas by physical address.
VSET_API std::vector<MemoryArea> memoryMap();

constexpr std::uint32_t kRegionLimit = 0x10000000;

// Gives a region another size, at most kRegionLimit. Its contents are lost, and pointers into it are invalid.
VSET_API void resizeRegion(std::uint32_t u32MmapId, std::uint32_t u32Size);

// Sets the size of the IOMMU's memory, 64 MiB unless set. Allocated memory stays.
VSET_API void setIommuMemory(std::uint64_t u64Size);

}  // namespace vset::sys

#endif
