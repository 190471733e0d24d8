// SPDX-License-Identifier: Apache-2.0
// Stands in front of the libc calls that take a path, so that the set's absolute paths lead into its folder. What the
// set does not serve falls through unchanged. errno changes on failure only.
#undef _FORTIFY_SOURCE
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "serial_lines.h"
#include "vset_call.h"
#include "vset_paths.h"

#define VSET_LIBC extern "C" __attribute__((visibility("default")))

namespace {

// The next function of that name: a sanitizer's, or libc's.
template <class Function>
Function* next(const char* pszName) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, pszName));
}

// The path to hand on. Null when the path is the set's but there is no set to serve it.
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

// Opens a path with `openIt`, which gets the path to hand on and answers `failure` when it cannot.
template <class Result, class OpenIt>
Result openPath(const char* pszPath, Result failure, const OpenIt& openIt) {
    const Path path(pszPath);
    if (path.isLost()) {
        return failure;
    }
    const auto openHost = [&] { return openIt(path.get()); };
    return vset::areHostPaths() ? openHost() : vset::openServed(pszPath, failure, openHost);
}

}  // namespace

VSET_LIBC int open(const char* pszPath, int s32Flags, ...) {
    static Open* const pNext = next<Open>("open");
    va_list arguments;
    va_start(arguments, s32Flags);
    const mode_t mode = modeArgument(s32Flags, arguments);
    va_end(arguments);
    return openPath(pszPath, -1, [&](const char* pszHost) { return pNext(pszHost, s32Flags, mode); });
}

VSET_LIBC int open64(const char* pszPath, int s32Flags, ...) {
    static Open* const pNext = next<Open>("open64");
    va_list arguments;
    va_start(arguments, s32Flags);
    const mode_t mode = modeArgument(s32Flags, arguments);
    va_end(arguments);
    return openPath(pszPath, -1, [&](const char* pszHost) { return pNext(pszHost, s32Flags, mode); });
}

// Fortified code calls these when no mode is given.
VSET_LIBC int __open_2(const char* pszPath, int s32Flags) {
    static OpenFortified* const pNext = next<OpenFortified>("__open_2");
    return openPath(pszPath, -1, [&](const char* pszHost) { return pNext(pszHost, s32Flags); });
}

VSET_LIBC int __open64_2(const char* pszPath, int s32Flags) {
    static OpenFortified* const pNext = next<OpenFortified>("__open64_2");
    return openPath(pszPath, -1, [&](const char* pszHost) { return pNext(pszHost, s32Flags); });
}

VSET_LIBC FILE* fopen(const char* pszPath, const char* pszMode) {
    static Fopen* const pNext = next<Fopen>("fopen");
    return openPath(pszPath, static_cast<FILE*>(nullptr), [&](const char* pszHost) { return pNext(pszHost, pszMode); });
}

VSET_LIBC FILE* fopen64(const char* pszPath, const char* pszMode) {
    static Fopen* const pNext = next<Fopen>("fopen64");
    return openPath(pszPath, static_cast<FILE*>(nullptr), [&](const char* pszHost) { return pNext(pszHost, pszMode); });
}

VSET_LIBC int access(const char* pszPath, int s32Mode) noexcept {
    static auto* const pNext = next<int(const char*, int)>("access");
    if (vset::isPretended(pszPath)) {
        return 0;
    }
    const Path path(pszPath);
    return path.isLost() ? -1 : pNext(path.get(), s32Mode);
}

VSET_LIBC int unlink(const char* pszPath) noexcept {
    static auto* const pNext = next<int(const char*)>("unlink");
    const Path path(pszPath);
    return path.isLost() ? -1 : pNext(path.get());
}

VSET_LIBC int mkfifo(const char* pszPath, mode_t mode) noexcept {
    static auto* const pNext = next<int(const char*, mode_t)>("mkfifo");
    const Path path(pszPath);
    return path.isLost() ? -1 : pNext(path.get(), mode);
}

VSET_LIBC int chmod(const char* pszPath, mode_t mode) noexcept {
    static auto* const pNext = next<int(const char*, mode_t)>("chmod");
    const Path path(pszPath);
    return path.isLost() ? -1 : pNext(path.get(), mode);
}
