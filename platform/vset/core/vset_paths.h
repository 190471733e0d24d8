// SPDX-License-Identifier: Apache-2.0
// The rule that maps the set's absolute paths into the tree of its folder.
#ifndef VSET_PATHS_H
#define VSET_PATHS_H

#include <optional>
#include <string>

namespace vset {

// Sets the tree of the attached set; empty when none is attached.
void setTree(const std::string& strTree);

// Returns whether the set serves the path itself: it is, or lies below, /data, /vendor, /mnt or /sys/kernel/uart, or is
// a /dev/ttyS<n>.
bool isServed(const char* pszPath);

// Returns the number of a /dev/ttyS<n>, or -1.
int serialPortOf(const char* pszPath);

// Returns the host's path for `pszPath`: itself, or one in `strBuffer` below the set's tree. An empty text, which names
// no file, when the set serves the path and none is attached.
const char* toHost(const char* pszPath, std::string& strBuffer);

// Returns whether this thread should find a file at `pszPath`, whether one is there or not; nothing when that counts.
std::optional<bool> pretendedExistence(const char* pszPath);

// Returns whether this thread's libc calls mean the host's paths.
bool areHostPaths();

}  // namespace vset

#endif
