// SPDX-License-Identifier: Apache-2.0
// The library's log on a board: its switch is a file, which stays as it is. The library, which calls access(), finds
// this program's.
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "vset/vset.h"

namespace {

thread_local const char* t_pretended = nullptr;
thread_local bool t_exists = false;

}  // namespace

extern "C" __attribute__((visibility("default"))) int access(const char* path, int mode) noexcept {
    if (t_pretended != nullptr && std::strcmp(path, t_pretended) == 0) {
        errno = ENOENT;
        return t_exists ? 0 : -1;
    }
    return faccessat(AT_FDCWD, path, mode, 0);
}

namespace vset {

PretendedFile::PretendedFile(const char* pszPath, bool bExists) : _pszBefore(t_pretended), _bExistedBefore(t_exists) {
    t_pretended = pszPath;
    t_exists = bExists;
}

PretendedFile::~PretendedFile() {
    t_pretended = _pszBefore;
    t_exists = _bExistedBefore;
}

}  // namespace vset
