// SPDX-License-Identifier: Apache-2.0
// The descriptors and streams that programs have from the set, which die with the power. All functions are safe to use
// from any thread.
#ifndef VSET_OPEN_FILES_H
#define VSET_OPEN_FILES_H

#include <cstdint>
#include <cstdio>

namespace vset {

// Moves a descriptor of the set itself to where no program's descriptor gets its number. Returns its new number.
int moveAside(int s32Fd);

// Who has opened a descriptor: the middleware, which closes it when the power goes, or a program itself.
enum class Opener { middleware, program };

void addDescriptor(int s32Fd, Opener eOpener);
// Whether it is one of these, opened since the set was switched on. errno is EBADF if not.
bool isDescriptorOpen(int s32Fd);
// close() for one of these that is still the file that was opened; -1 and EBADF for every other one.
int closeDescriptor(int s32Fd);
// Whether transfers may keep the caller waiting, as with a pipe.
bool mayWait(int s32Fd);

void addStream(std::FILE* pStream);
bool isStreamOpen(std::FILE* pStream);
// fclose() for one of these; EOF and EBADF for every other one.
int closeStream(std::FILE* pStream);
bool mayWait(std::FILE* pStream);

// Before a write to what is open: remembers the file as it is, the first time since the last HW_FS_Sync.
void rememberFileOf(int s32Fd);
void rememberFileOf(std::FILE* pStream);

// The power goes: what is open is of no use from here on. No call of the middleware uses a plain file meanwhile.
void killOpenFiles();

}  // namespace vset

#endif
