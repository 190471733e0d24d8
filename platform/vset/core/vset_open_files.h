// SPDX-License-Identifier: Apache-2.0
// The programs' descriptors and streams of the set, which die with the power. All functions are safe to use from any
// thread.
#ifndef VSET_OPEN_FILES_H
#define VSET_OPEN_FILES_H

#include <cstdint>
#include <cstdio>

namespace vset {

// Moves a descriptor of the set itself above the programs' descriptors. Returns its new number.
int moveAside(int s32Fd);

// The opener of a descriptor: the middleware, which closes it when the power goes, or a program itself.
enum class Opener { middleware, program };

void addDescriptor(int s32Fd, Opener eOpener);
// Returns whether a descriptor of the set is open, and was opened since the set was switched on. errno is EBADF if not.
bool isDescriptorOpen(int s32Fd);
// Closes a descriptor of the set that is still the file that was opened; returns -1 with EBADF for every other one.
int closeDescriptor(int s32Fd);
// Returns whether transfers may keep the caller waiting, as with a pipe.
bool mayWait(int s32Fd);

void addStream(std::FILE* pStream);
bool isStreamOpen(std::FILE* pStream);
// Closes a stream of the set; returns EOF with EBADF for every other one.
int closeStream(std::FILE* pStream);
bool mayWait(std::FILE* pStream);

// Remembers an open file before a write, the first time since the last HW_FS_Sync.
void rememberFileOf(int s32Fd);
void rememberFileOf(std::FILE* pStream);

// Makes all open files unusable when the power goes. No call of the middleware uses a plain file meanwhile.
void killOpenFiles();

}  // namespace vset

#endif
