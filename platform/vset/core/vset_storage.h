// SPDX-License-Identifier: Apache-2.0
// Writes to the set's storage, which a power cut may interrupt at any point.
#ifndef VSET_STORAGE_H
#define VSET_STORAGE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vset {

// Throws SetError for errno, and notes it if it is the host's trouble.
[[noreturn]] void failWith(const std::string& strFile);

// Notes trouble of the host that causes no SetError, and prints it on standard error.
void tellHostTrouble(const std::string& strFile, int s32Error);

// Notes that the host has no room for a file or folder at this path, if errno says so. errno stays.
void tellFullDisk(const char* pszPath);

// Counts a write that is about to happen, at which the power may be cut.
void step();

// Returns the whole file. Throws SetError naming it.
std::vector<unsigned char> readFile(const std::string& strFile);

// Replaces the file with `size` bytes and keeps its permissions: after a power cut at any moment it holds the old bytes
// or the new ones. Replaces a link. Throws SetError naming the file, which then has its old bytes.
void replaceFile(const std::string& strFile, const void* pData, std::size_t size);

// Replaces the file with `u64Size` bytes of 0xFF, as flash is after erasing.
void replaceFileWithBlank(const std::string& strFile, std::uint64_t u64Size);

// Replaces the file with its own bytes, cut or extended with 0xFF to `u64Size` bytes.
void replaceFileResized(const std::string& strFile, std::uint64_t u64Size);

// Replaces `strTarget` with the resized bytes of `strFile`.
void writeFileResized(const std::string& strFile, const std::string& strTarget, std::uint64_t u64Size);

// Moves a file over another one of the same folder. Throws SetError.
void moveFile(const std::string& strFile, const std::string& strTarget);

// Writes in place, block by block. Throws SetError.
void writeBlocks(int s32Fd, const std::string& strFile, const void* pData, std::size_t size, std::uint64_t u64Offset);
void writeBlank(int s32Fd, const std::string& strFile, std::uint64_t u64Size, std::uint64_t u64Offset);

}  // namespace vset

#endif
