// SPDX-License-Identifier: Apache-2.0
// The control API of the set's flash. Environments and partitions are files of the set's folder, too: env/*.img and
// partitions/*.img. All functions throw SetError; flash types are those of HW_FLASH_Type_e.
#ifndef VSET_FLASH_H
#define VSET_FLASH_H

#include <map>

#include "vset/vset.h"

namespace vset::flash {

// Opens a flash type for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold(std::uint32_t u32FlashType);
VSET_API void release(std::uint32_t u32FlashType);

// Returns a flash type's boot environment: key -> value.
VSET_API std::map<std::string, std::string> environment(std::uint32_t u32FlashType);

// Returns the eMMC partitions: name -> size in bytes.
VSET_API std::map<std::string, std::uint64_t> partitions();
// Returns those of the set in the folder, whether or not it is switched on.
VSET_API std::map<std::string, std::uint64_t> partitions(const std::string& strFolder);

// Adds a partition, or gives one another size: its contents stay as far as they fit, the rest reads 0xFF.
VSET_API void setPartition(const std::string& strName, std::uint64_t u64Size);

}  // namespace vset::flash

#endif
