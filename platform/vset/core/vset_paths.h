// SPDX-License-Identifier: Apache-2.0
// The one rule that leads the set's absolute paths into the tree of its folder.
#ifndef VSET_PATHS_H
#define VSET_PATHS_H

#include <string>

namespace vset {

// Where the tree of the attached set lies; empty when none is attached.
void setTree(const std::string& strTree);

// Whether the set serves the path itself: it is, or lies below, /data, /vendor, /mnt or /sys/kernel/uart, or is a
// /dev/ttyS<n>.
bool isServed(const char* pszPath);

// The number of a /dev/ttyS<n>, or -1.
int serialPortOf(const char* pszPath);

// The path to hand to the host for `pszPath`: itself, or one in `strBuffer` below the set's tree. An empty text, which
// names no file, when the set serves the path and none is attached.
const char* toHost(const char* pszPath, std::string& strBuffer);

// Whether this thread is to find a file at `pszPath` whatever is there.
bool isPretended(const char* pszPath);

// Whether this thread's libc calls mean the host's paths.
bool areHostPaths();

}  // namespace vset

#endif
