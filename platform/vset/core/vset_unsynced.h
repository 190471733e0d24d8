// SPDX-License-Identifier: Apache-2.0
// What a power cut takes back: changes of the set's tree that no HW_FS_Sync has followed.
#ifndef VSET_UNSYNCED_H
#define VSET_UNSYNCED_H

#include <cstdint>
#include <string>

namespace vset {

// Whether a symbolic link at a path is followed, as by writing, or is itself what is changed, as by removing.
enum class Link { followed, itself };

// Remembers what is at this path of the host before a program changes it, the first time since the last HW_FS_Sync.
// Passes over what is not in the set's tree.
void rememberSynced(const std::string& strFile, Link eLink);

// Everything is on the disk: forgets what has been remembered.
void forgetSynced();

// Changes with forgetSynced().
std::uint32_t syncNumber();

// Puts back what has been remembered.
void takeBackUnsynced() noexcept;

}  // namespace vset

#endif
