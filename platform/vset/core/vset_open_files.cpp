// SPDX-License-Identifier: Apache-2.0
// The programs' descriptors and streams of the set, which die with the power.
#include "vset_open_files.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "vset/vset.h"
#include "vset_unsynced.h"

namespace vset {

namespace {

// The set's own descriptors begin here, above those of most programs.
constexpr int kAside = 512;
// Higher descriptors are not recorded.
constexpr int kDescriptors = 65536;

// The record of a descriptor. It has no lock, because programs also open files between fork() and exec().
struct Descriptor {
    std::atomic<std::uint64_t> u64File{0};  // 0: not a descriptor of the set
    std::atomic<bool> bOfMiddleware{false};
    std::atomic<bool> bDead{false};
    std::atomic<bool> bPlain{false};
    std::atomic<std::uint32_t> u32Sync{0};  // the sync number when the file was remembered
};

std::array<Descriptor, kDescriptors> descriptors;
std::atomic<int> descriptorsEnd{0};

struct Stream {
    bool bPlain = false;
    bool bDead = false;
    std::uint32_t u32Sync = 0;  // as in Descriptor
};

struct Streams {
    std::mutex mutex;
    std::map<std::FILE*, Stream> open;
};

Streams& theStreams() {
    static Streams& streams = *new Streams;
    return streams;
}

// Returns a number that identifies a file: a program may have closed a descriptor by other means, and received its
// number again.
std::uint64_t fileOf(int s32Fd) {
    struct stat stStat = {};
    if (fstat(s32Fd, &stStat) != 0) {
        return 0;
    }
    return (static_cast<std::uint64_t>(stStat.st_ino) << 16 ^ stStat.st_dev) | 1;
}

Descriptor* find(int s32Fd) {
    if (s32Fd < 0 || s32Fd >= kDescriptors) {
        return nullptr;
    }
    Descriptor& descriptor = descriptors[static_cast<std::size_t>(s32Fd)];
    const std::uint64_t u64File = descriptor.u64File;
    return u64File != 0 && u64File == fileOf(s32Fd) ? &descriptor : nullptr;
}

int refuse() {
    errno = EBADF;
    return -1;
}

void rememberFile(int s32Fd) {
    std::error_code error;
    const auto file = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(s32Fd), error);
    rememberSynced(file.string(), Link::followed);
}

bool isPlain(int s32Fd) {
    struct stat stStat = {};
    return fstat(s32Fd, &stStat) == 0 && S_ISREG(stStat.st_mode);
}

// Keeps the number taken until the program closes it: another file would get it otherwise.
void killDescriptor(int s32Fd, int s32Null) {
    Descriptor& descriptor = descriptors[static_cast<std::size_t>(s32Fd)];
    if (!descriptor.bOfMiddleware || find(s32Fd) == nullptr) {
        descriptor.u64File = 0;
        return;
    }
    if (!descriptor.bDead) {
        dup2(s32Null, s32Fd);
        descriptor.u64File = fileOf(s32Fd);
        descriptor.bDead = true;
    }
}

// Ends the stream's file, but keeps the stream for the program that still has a pointer to it.
void killStream(std::FILE* pStream, int s32Null) {
    const int s32Fd = fileno(pStream);
    if (!isPlain(s32Fd) || std::freopen("/dev/null", "r+", pStream) == nullptr) {
        // Another thread may be waiting in the stream.
        dup2(s32Null, s32Fd);
    }
}

}  // namespace

int moveAside(int s32Fd) {
    const int s32Aside = s32Fd >= 0 ? fcntl(s32Fd, F_DUPFD_CLOEXEC, kAside) : -1;
    if (s32Aside < 0) {
        // The process may not have that many descriptors.
        return s32Fd;
    }
    close(s32Fd);
    return s32Aside;
}

void addDescriptor(int s32Fd, Opener eOpener) {
    if (s32Fd < 0 || s32Fd >= kDescriptors) {
        return;
    }
    const int s32Errno = errno;
    Descriptor& descriptor = descriptors[static_cast<std::size_t>(s32Fd)];
    descriptor.bOfMiddleware = eOpener == Opener::middleware;
    descriptor.bDead = false;
    descriptor.bPlain = isPlain(s32Fd);
    descriptor.u32Sync = 0;
    descriptor.u64File = fileOf(s32Fd);
    int s32End = descriptorsEnd;
    while (s32End <= s32Fd && !descriptorsEnd.compare_exchange_weak(s32End, s32Fd + 1)) {
    }
    errno = s32Errno;
}

bool isDescriptorOpen(int s32Fd) {
    const bool bInTable = s32Fd >= 0 && s32Fd < kDescriptors;
    const Descriptor& descriptor = descriptors[bInTable ? static_cast<std::size_t>(s32Fd) : 0];
    if (!bInTable || descriptor.u64File == 0 || descriptor.bDead) {
        refuse();
        return false;
    }
    return true;
}

bool mayWait(int s32Fd) {
    return !descriptors[static_cast<std::size_t>(s32Fd)].bPlain;
}

int closeDescriptor(int s32Fd) {
    Descriptor* const pDescriptor = find(s32Fd);
    if (pDescriptor == nullptr) {
        return refuse();
    }
    const bool bDead = pDescriptor->bDead;
    pDescriptor->u64File = 0;
    const int s32Result = close(s32Fd);
    return bDead ? refuse() : s32Result;
}

void rememberFileOf(int s32Fd) {
    const std::uint32_t u32Sync = syncNumber();
    if (descriptors[static_cast<std::size_t>(s32Fd)].u32Sync.exchange(u32Sync) != u32Sync) {
        rememberFile(s32Fd);
    }
}

void addStream(std::FILE* pStream) {
    Streams& streams = theStreams();
    const std::lock_guard<std::mutex> lock(streams.mutex);
    streams.open[pStream] = {isPlain(fileno(pStream)), false, 0};
}

bool mayWait(std::FILE* pStream) {
    Streams& streams = theStreams();
    const std::lock_guard<std::mutex> lock(streams.mutex);
    const auto found = streams.open.find(pStream);
    return found == streams.open.end() || !found->second.bPlain;
}

bool isStreamOpen(std::FILE* pStream) {
    Streams& streams = theStreams();
    const std::lock_guard<std::mutex> lock(streams.mutex);
    const auto found = streams.open.find(pStream);
    if (found == streams.open.end() || found->second.bDead) {
        refuse();
        return false;
    }
    return true;
}

void rememberFileOf(std::FILE* pStream) {
    Streams& streams = theStreams();
    const std::lock_guard<std::mutex> lock(streams.mutex);
    const auto found = streams.open.find(pStream);
    if (found != streams.open.end() && std::exchange(found->second.u32Sync, syncNumber()) != syncNumber()) {
        rememberFile(fileno(pStream));
    }
}

int closeStream(std::FILE* pStream) {
    bool bDead = false;
    {
        Streams& streams = theStreams();
        const std::lock_guard<std::mutex> lock(streams.mutex);
        const auto found = streams.open.find(pStream);
        if (found == streams.open.end()) {
            return refuse();
        }
        bDead = found->second.bDead;
        streams.open.erase(found);
    }
    const int s32Result = std::fclose(pStream);
    return bDead ? refuse() : s32Result;
}

void killOpenFiles() {
    const HostPaths hostPaths;
    const int s32Null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int s32Fd = 0; s32Fd < descriptorsEnd; ++s32Fd) {
        killDescriptor(s32Fd, s32Null);
    }
    Streams& streams = theStreams();
    const std::lock_guard<std::mutex> lock(streams.mutex);
    for (auto& [pStream, stStream] : streams.open) {
        if (!stStream.bDead) {
            killStream(pStream, s32Null);
            stStream.bDead = true;
        }
    }
    close(s32Null);
}

}  // namespace vset
