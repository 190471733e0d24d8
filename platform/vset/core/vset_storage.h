// SPDX-License-Identifier: Apache-2.0
// Writing to the set's storage as a power cut may interrupt it at any point.
#ifndef VSET_STORAGE_H
#define VSET_STORAGE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vset {

// Throws SetError for errno, and notes it as trouble of the host where it is.
[[noreturn]] void failWith(const std::string& strFile);

// Notes trouble with a file that nobody throws for, and says so on standard error.
void tellHostTrouble(const std::string& strFile, int s32Error);

// Tells that the host has no room for a file or folder at this path, if that is the set's. errno stays.
void tellFullDisk(const char* pszPath);

// One write to the storage is about to happen, at which the power may be cut.
void step();

// The whole file. Throws SetError naming it.
std::vector<unsigned char> readFile(const std::string& strFile);

// Puts `size` bytes in place of the file, which keeps its permissions: after a power cut at any moment it holds the old
// bytes or the new ones. A link to it is replaced. Throws SetError naming the file; the old bytes then stand.
void replaceFile(const std::string& strFile, const void* pData, std::size_t size);

// The same with `u64Size` bytes of 0xFF, as flash is after erasing.
void replaceFileWithBlank(const std::string& strFile, std::uint64_t u64Size);

// The same with what the file holds, cut or filled up with 0xFF to `u64Size` bytes.
void replaceFileResized(const std::string& strFile, std::uint64_t u64Size);

// Puts those bytes into another file, which replaces the one of its name.
void writeFileResized(const std::string& strFile, const std::string& strTarget, std::uint64_t u64Size);

// Has a file take the place of another one of the same folder. Throws SetError.
void moveFile(const std::string& strFile, const std::string& strTarget);

// Writes in place, block by block. Throws SetError.
void writeBlocks(int s32Fd, const std::string& strFile, const void* pData, std::size_t size, std::uint64_t u64Offset);
void writeBlank(int s32Fd, const std::string& strFile, std::uint64_t u64Size, std::uint64_t u64Offset);

}  // namespace vset

#endif
