// SPDX-License-Identifier: Apache-2.0
// Files: the host's own calls on the set's tree. They work before any Init.
#include "hw3/hw_fs.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "serial_lines.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_open_files.h"
#include "vset_paths.h"
#include "vset_storage.h"
#include "vset_unsynced.h"

namespace {

class FsModel : public vset::FamilyModel {
public:
    FsModel() : FamilyModel(vset::FamilyId::fs, "HW_FS") {}
};
FsModel& model = *new FsModel;

constexpr HW_S32 kAbsent = -1;
constexpr HW_S32 kFailed = -2;

// A path of the set as the host knows it; a null path stays null.
class TreePath {
public:
    explicit TreePath(const char* pszPath) : _pszPath(vset::toHost(pszPath, _strBuffer)) {}
    const char* get() const { return _pszPath; }

private:
    std::string _strBuffer;
    const char* _pszPath;
};

// A wait with the power off, for transfers that may keep a call waiting: a pipe or a terminal.
class PatientCall {
public:
    explicit PatientCall(bool bWaits) : _u64Cycle(vset::detail::powerCycles()) {
        if (bWaits) {
            _withoutPower.emplace();
        }
    }
    // Ends the wait. Returns whether the power has stayed on.
    bool isSameLife() {
        _withoutPower.reset();
        return _u64Cycle == vset::detail::powerCycles();
    }

private:
    const std::uint64_t _u64Cycle;
    std::optional<vset::detail::WithoutPower> _withoutPower;
};

bool mayWait(const char* pszHost) {
    struct stat stStat = {};
    return stat(pszHost, &stStat) == 0 && !S_ISREG(stStat.st_mode) && !S_ISDIR(stStat.st_mode);
}

bool isPlainFile(HW_S32 s32Fd) {
    struct stat stStat = {};
    return fstat(s32Fd, &stStat) == 0 && S_ISREG(stStat.st_mode);
}

// Notes that a plain file could not be written, if the host's disk is the reason. errno stays.
void tellTrouble(HW_S32 s32Fd) {
    const int s32Error = errno;
    if (isPlainFile(s32Fd)) {
        std::error_code error;
        const auto file = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(s32Fd), error);
        vset::tellHostTrouble(file.string(), s32Error);
    }
    errno = s32Error;
}

HW_S32 writeFile(HW_S32 s32Fd, const void* pData, std::size_t size) {
    if (!vset::isDescriptorOpen(s32Fd)) {
        return -1;
    }
    const PatientCall patientCall(vset::mayWait(s32Fd));
    vset::rememberFileOf(s32Fd);
    vset::step();
    const auto* pu8Data = static_cast<const unsigned char*>(pData);
    const ssize_t length = write(s32Fd, pData, size);
    ssize_t more = std::min<ssize_t>(length, 0);
    // A disk that gets full takes the first bytes, and only the next write reports why it took no more.
    if (length >= 0 && static_cast<std::size_t>(length) < size && isPlainFile(s32Fd)) {
        more = write(s32Fd, pu8Data + length, size - static_cast<std::size_t>(length));
    }
    if (more < 0) {
        tellTrouble(s32Fd);
    }
    return static_cast<HW_S32>(length + (length >= 0 ? std::max<ssize_t>(more, 0) : 0));
}

// Returns the members transferred; -1 only when none was and the stream is in error.
HW_S32 membersOf(std::size_t count, FILE* pStream) {
    return count == 0 && std::ferror(pStream) != 0 ? -1 : static_cast<HW_S32>(count);
}

HW_S32 writeStream(const void* pData, HW_U32 u32Size, HW_U32 u32Count, FILE* pStream) {
    const PatientCall patientCall(vset::mayWait(pStream));
    vset::rememberFileOf(pStream);
    vset::step();
    const std::size_t count = std::fwrite(pData, u32Size, u32Count, pStream);
    if (count < u32Count && std::ferror(pStream) != 0) {
        tellTrouble(fileno(pStream));
    }
    return membersOf(count, pStream);
}

// A larger buffer than stdio's own, for one written stream at a time: a picture that is written row by row reaches the
// host in few pieces.
constexpr std::size_t kLargeBuffer = 65536;
char acLargeBuffer[kLargeBuffer];
std::atomic<FILE*> largeBufferOwner{nullptr};

void lendLargeBuffer(FILE* pStream) {
    FILE* pNobody = nullptr;
    if (largeBufferOwner.compare_exchange_strong(pNobody, pStream)) {
        static_cast<void>(std::setvbuf(pStream, acLargeBuffer, _IOFBF, kLargeBuffer));
    }
}

// Closes a stream and frees the buffer. A stream that is opened meanwhile at the same address does not get the buffer.
HW_S32 closeStream(FILE* pStream) {
    const bool bLent = largeBufferOwner == pStream;
    const bool bLost = vset::isStreamOpen(pStream) && std::fflush(pStream) != 0;
    const int s32Error = errno;
    if (bLost) {
        tellTrouble(fileno(pStream));
    }
    const HW_S32 s32Result = vset::closeStream(pStream);
    if (bLent) {
        largeBufferOwner = nullptr;
    }
    if (!bLost) {
        return s32Result;
    }
    // What could not be flushed is gone, so that fclose() itself finds nothing wrong.
    errno = s32Error;
    return -1;
}

HW_S32 refuseNull() {
    errno = EFAULT;
    return -1;
}

// Returns a descriptor of 0 or more, or HW_FS_Open's result of a failure.
HW_S32 openDescriptor(const char* pszPath, HW_S32 s32Flags) {
    const TreePath path(pszPath);
    PatientCall patientCall(mayWait(path.get()));
    const int s32Fd = vset::openServed(pszPath, -1, [&] { return open(path.get(), s32Flags | O_NOCTTY | O_CLOEXEC); });
    if (s32Fd >= 0 && !patientCall.isSameLife()) {
        close(s32Fd);
        errno = ENODEV;
        return kFailed;
    }
    if (s32Fd < 0) {
        return errno == ENOENT || errno == ENOTDIR ? kAbsent : kFailed;
    }
    vset::addDescriptor(s32Fd, vset::Opener::middleware);
    return s32Fd;
}

FILE* openStream(const char* pszPath, const char* pszMode) {
    const TreePath path(pszPath);
    PatientCall patientCall(mayWait(path.get()));
    if (pszMode[0] != 'r') {
        vset::rememberSynced(path.get(), vset::Link::followed);
    }
    FILE* const pStream =
        vset::openServed(pszPath, static_cast<FILE*>(nullptr), [&] { return std::fopen(path.get(), pszMode); });
    if (pStream != nullptr && !patientCall.isSameLife()) {
        std::fclose(pStream);
        errno = ENODEV;
        return nullptr;
    }
    if (pStream != nullptr) {
        vset::addStream(pStream);
        if (pszMode[0] == 'w') {
            lendLargeBuffer(pStream);
        }
    }
    return pStream;
}

// Returns the members read, or -1.
HW_S32 readStream(void* pData, HW_U32 u32Size, HW_U32 u32Count, FILE* pStream) {
    const PatientCall patientCall(vset::mayWait(pStream));
    return membersOf(std::fread(pData, u32Size, u32Count, pStream), pStream);
}

}  // namespace

HW_Result_t HW_FS_Init(const HW_FS_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t {
        if (pstParams == nullptr || pstParams->u32Reserved != 0) {
            return HW_ERR_INVALID_PARAMETER;
        }
        return model.markInitialised();
    });
}

HW_S32 HW_FS_Open(const char* pszPath, HW_S32 s32Flags) {
    return vset::call(
        __func__, {pszPath, s32Flags},
        [&]() -> HW_S32 {
            if (pszPath == nullptr || (s32Flags != O_RDONLY && s32Flags != O_RDWR)) {
                errno = pszPath == nullptr ? EFAULT : EINVAL;
                return kFailed;
            }
            return openDescriptor(pszPath, s32Flags);
        },
        vset::OnFault::skip, kFailed);
}

HW_S32 HW_FS_Close(HW_S32 s32Fd) {
    // Descriptor 0 belongs to the host program; the set only reports that it is closed.
    return vset::call(
        __func__, {s32Fd}, [&]() -> HW_S32 { return s32Fd == 0 ? 0 : vset::closeDescriptor(s32Fd); },
        vset::OnFault::act);
}

HW_S32 HW_FS_Write(HW_S32 s32Fd, const void* pData, HW_U32 u32Size) {
    return vset::call(__func__, {s32Fd, pData, u32Size}, [&]() -> HW_S32 {
        return pData == nullptr && u32Size != 0 ? refuseNull() : writeFile(s32Fd, pData, u32Size);
    });
}

FILE* HW_FS_Fopen(const char* pszPath, const char* pszMode) {
    return vset::call(__func__, {pszPath, pszMode}, [&]() -> FILE* {
        if (pszPath == nullptr || pszMode == nullptr) {
            errno = EFAULT;
            return nullptr;
        }
        return openStream(pszPath, pszMode);
    });
}

HW_S32 HW_FS_Fclose(FILE* pStream) {
    return vset::call(
        __func__, {pStream}, [&]() -> HW_S32 { return pStream == nullptr ? refuseNull() : closeStream(pStream); },
        vset::OnFault::act);
}

// Returns the result of `body` for a buffer and a stream that is open, else -1.
template <class Body>
static HW_S32 withStream(const void* pData, FILE* pStream, Body&& body) {
    if (pData == nullptr || pStream == nullptr) {
        return refuseNull();
    }
    return vset::isStreamOpen(pStream) ? body() : -1;
}

HW_S32 HW_FS_Fread(void* pData, HW_U32 u32Size, HW_U32 u32Count, FILE* pStream) {
    return vset::call(__func__, {pData, u32Size, u32Count, pStream}, [&]() -> HW_S32 {
        return withStream(pData, pStream, [&] { return readStream(pData, u32Size, u32Count, pStream); });
    });
}

HW_S32 HW_FS_Fwrite(const void* pData, HW_U32 u32Size, HW_U32 u32Count, FILE* pStream) {
    return vset::call(__func__, {pData, u32Size, u32Count, pStream}, [&]() -> HW_S32 {
        return withStream(pData, pStream, [&] { return writeStream(pData, u32Size, u32Count, pStream); });
    });
}

HW_S32 HW_FS_Fseek(FILE* pStream, HW_S64 s64Offset, HW_S32 s32Whence) {
    return vset::call(__func__, {pStream, s64Offset, s32Whence}, [&]() -> HW_S32 {
        return withStream(pStream, pStream, [&] { return fseeko(pStream, static_cast<off_t>(s64Offset), s32Whence); });
    });
}

HW_S32 HW_FS_Stat(const char* pszPath, struct stat* pstStat) {
    return vset::call(__func__, {pszPath, pstStat}, [&]() -> HW_S32 {
        return pszPath == nullptr || pstStat == nullptr ? refuseNull() : stat(TreePath(pszPath).get(), pstStat);
    });
}

HW_S32 HW_FS_MkDir(const char* pszPath, HW_U32 u32Mode) {
    return vset::call(__func__, {pszPath, u32Mode}, [&]() -> HW_S32 {
        if (pszPath == nullptr) {
            return refuseNull();
        }
        const TreePath path(pszPath);
        vset::rememberSynced(path.get(), vset::Link::itself);
        vset::step();
        const HW_S32 s32Result = mkdir(path.get(), static_cast<mode_t>(u32Mode));
        if (s32Result != 0 && errno == ENOSPC) {
            vset::tellFullDisk(pszPath);
        }
        return s32Result;
    });
}

HW_S32 HW_FS_Unlink(const char* pszPath) {
    return vset::call(__func__, {pszPath}, [&]() -> HW_S32 {
        if (pszPath == nullptr) {
            return refuseNull();
        }
        const TreePath path(pszPath);
        vset::rememberSynced(path.get(), vset::Link::itself);
        vset::step();
        return unlink(path.get());
    });
}

// Makes a power cut keep all earlier writes. There is nothing to flush: the host has received them already.
HW_S32 HW_FS_Sync(void) {
    return vset::call(__func__, {}, []() -> HW_S32 {
        vset::forgetSynced();
        return 0;
    });
}
