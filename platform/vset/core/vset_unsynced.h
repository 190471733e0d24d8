// SPDX-License-Identifier: Apache-2.0
// Changes of the set's tree that no HW_FS_Sync has followed, which a power cut takes back.
#ifndef VSET_UNSYNCED_H
#define VSET_UNSYNCED_H

#include <cstdint>
#include <string>

namespace vset {

// Says whether a symbolic link at a path is followed, as by writing, or is itself changed, as by removing.
enum class Link { followed, itself };

// Remembers the file at this path of the host before a program changes it, the first time since the last HW_FS_Sync.
// Ignores paths outside the set's tree.
void rememberSynced(const std::string& strFile, Link eLink);

// Forgets the remembered files, because everything is on the disk.
void forgetSynced();

// Returns a number that changes with forgetSynced().
std::uint32_t syncNumber();

// Restores the remembered files.
void takeBackUnsynced() noexcept;

}  // namespace vset

#endif
