// SPDX-License-Identifier: Apache-2.0
// Replaces the libc calls that take a path, so that the set's absolute paths lead into its folder, and sync(). Other
// paths pass unchanged. errno changes on failure only.
#undef _FORTIFY_SOURCE
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "serial_lines.h"
#include "vset_call.h"
#include "vset_open_files.h"
#include "vset_paths.h"
#include "vset_unsynced.h"

#define VSET_LIBC extern "C" __attribute__((visibility("default")))

namespace {

// Returns the next function of that name: a sanitizer's, or libc's.
template <class Function>
Function* next(const char* pszName) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, pszName));
}

// The path to pass on. Null when the path is the set's but there is no set to serve it.
class Path {
public:
    explicit Path(const char* pszPath) : _pszPath(pszPath) {
        if (vset::areHostPaths() || !vset::isServed(pszPath)) {
            return;
        }
        const vset::HostPaths hostPaths;
        const bool bAttached = vset::detail::ensureAttached();
        _pszPath = vset::toHost(pszPath, _strBuffer);
        if (!bAttached || *_pszPath == '\0') {
            errno = ENODEV;
            _bServed = false;
        }
    }

    bool isLost() const { return !_bServed; }
    // Prepares for a change of the file at a path of the set.
    void isChanged(vset::Link eLink) const {
        if (_pszPath == _strBuffer.c_str()) {
            vset::rememberSynced(_strBuffer, eLink);
        }
    }
    const char* get() const { return _pszPath; }

private:
    const char* _pszPath;
    std::string _strBuffer;
    bool _bServed = true;
};

using Open = int(const char*, int, ...);
using OpenFortified = int(const char*, int);
using Fopen = FILE*(const char*, const char*);

mode_t modeArgument(int s32Flags, va_list arguments) {
    const bool bHasMode = (s32Flags & O_CREAT) != 0 || (s32Flags & O_TMPFILE) == O_TMPFILE;
    return bHasMode ? va_arg(arguments, mode_t) : 0;
}

// Opens a path with `openIt`, which receives the path to pass on and answers `failure` when it cannot. `bWritten` is
// true for a file that is written.
template <class Result, class OpenIt>
Result openPath(const char* pszPath, Result failure, bool bWritten, const OpenIt& openIt) {
    const Path path(pszPath);
    if (path.isLost()) {
        return failure;
    }
    const auto openHost = [&] { return openIt(path.get()); };
    if (vset::areHostPaths()) {
        return openHost();
    }
    if (bWritten) {
        path.isChanged(vset::Link::followed);
    }
    return vset::openServed(pszPath, failure, openHost);
}

// Opens a descriptor, and records one for writing, because a program may give it to the middleware.
template <class OpenIt>
int openDescriptor(const char* pszPath, int s32Flags, const OpenIt& openIt) {
    const bool bWritten = (s32Flags & O_ACCMODE) != O_RDONLY;
    const int s32Fd = openPath(pszPath, -1, bWritten, openIt);
    if (bWritten && !vset::areHostPaths()) {
        vset::addDescriptor(s32Fd, vset::Opener::program);
    }
    return s32Fd;
}

bool isWriting(const char* pszMode) {
    return pszMode[0] != 'r' || std::strchr(pszMode, '+') != nullptr;
}

}  // namespace

VSET_LIBC int open(const char* pszPath, int s32Flags, ...) {
    static Open* const pNext = next<Open>("open");
    va_list arguments;
    va_start(arguments, s32Flags);
    const mode_t mode = modeArgument(s32Flags, arguments);
    va_end(arguments);
    return openDescriptor(pszPath, s32Flags, [&](const char* pszHost) { return pNext(pszHost, s32Flags, mode); });
}

VSET_LIBC int open64(const char* pszPath, int s32Flags, ...) {
    static Open* const pNext = next<Open>("open64");
    va_list arguments;
    va_start(arguments, s32Flags);
    const mode_t mode = modeArgument(s32Flags, arguments);
    va_end(arguments);
    return openDescriptor(pszPath, s32Flags, [&](const char* pszHost) { return pNext(pszHost, s32Flags, mode); });
}

// Fortified code calls these when no mode is given.
VSET_LIBC int __open_2(const char* pszPath, int s32Flags) {
    static OpenFortified* const pNext = next<OpenFortified>("__open_2");
    return openDescriptor(pszPath, s32Flags, [&](const char* pszHost) { return pNext(pszHost, s32Flags); });
}

VSET_LIBC int __open64_2(const char* pszPath, int s32Flags) {
    static OpenFortified* const pNext = next<OpenFortified>("__open64_2");
    return openDescriptor(pszPath, s32Flags, [&](const char* pszHost) { return pNext(pszHost, s32Flags); });
}

VSET_LIBC FILE* fopen(const char* pszPath, const char* pszMode) {
    static Fopen* const pNext = next<Fopen>("fopen");
    return openPath(pszPath, static_cast<FILE*>(nullptr), isWriting(pszMode),
                    [&](const char* pszHost) { return pNext(pszHost, pszMode); });
}

VSET_LIBC FILE* fopen64(const char* pszPath, const char* pszMode) {
    static Fopen* const pNext = next<Fopen>("fopen64");
    return openPath(pszPath, static_cast<FILE*>(nullptr), isWriting(pszMode),
                    [&](const char* pszHost) { return pNext(pszHost, pszMode); });
}

VSET_LIBC int access(const char* pszPath, int s32Mode) noexcept {
    static auto* const pNext = next<int(const char*, int)>("access");
    if (const std::optional<bool> existence = vset::pretendedExistence(pszPath)) {
        errno = *existence ? errno : ENOENT;
        return *existence ? 0 : -1;
    }
    const Path path(pszPath);
    return path.isLost() ? -1 : pNext(path.get(), s32Mode);
}

VSET_LIBC int unlink(const char* pszPath) noexcept {
    static auto* const pNext = next<int(const char*)>("unlink");
    const Path path(pszPath);
    path.isChanged(vset::Link::itself);
    return path.isLost() ? -1 : pNext(path.get());
}

VSET_LIBC int mkfifo(const char* pszPath, mode_t mode) noexcept {
    static auto* const pNext = next<int(const char*, mode_t)>("mkfifo");
    const Path path(pszPath);
    path.isChanged(vset::Link::followed);
    return path.isLost() ? -1 : pNext(path.get(), mode);
}

VSET_LIBC int chmod(const char* pszPath, mode_t mode) noexcept {
    static auto* const pNext = next<int(const char*, mode_t)>("chmod");
    const Path path(pszPath);
    path.isChanged(vset::Link::followed);
    return path.isLost() ? -1 : pNext(path.get(), mode);
}

// Puts the set's files on its disk, as HW_FS_Sync does. The host's disks are not the set's.
VSET_LIBC void sync() noexcept {
    if (vset::areHostPaths()) {
        static auto* const pNext = next<void()>("sync");
        pNext();
    } else {
        vset::forgetSynced();
    }
}
