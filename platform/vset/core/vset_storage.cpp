// SPDX-License-Identifier: Apache-2.0
// Writes to the set's storage, which a power cut may interrupt at any point.
#include "vset_storage.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <utility>

#include <fcntl.h>
#include <libgen.h>
#include <sys/stat.h>
#include <unistd.h>

#include "vset/vset.h"
#include "vset_paths.h"
#include "vset_unsynced.h"

namespace vset {

namespace {

// The size of one write; the power can be cut between two blocks.
constexpr std::size_t kBlock = 4096;

std::atomic<std::uint64_t> g_u64WritesLeft{0};

bool isFull(int s32Error) {
    return s32Error == ENOSPC || s32Error == EDQUOT;
}

struct Troubles {
    std::mutex mutex;
    std::vector<std::string> lines;
};

Troubles& theTroubles() {
    static Troubles& troubles = *new Troubles;
    return troubles;
}

// Returns the line when it is a new one.
std::string note(const std::string& strFile, int s32Error) {
    if (!isFull(s32Error) && s32Error != EFBIG && s32Error != EIO && s32Error != EROFS) {
        return "";
    }
    std::string strLine = isFull(s32Error) ? "the disk of the virtual set is full: " + strFile
                                           : strFile + ": cannot be stored: " + std::strerror(s32Error);
    Troubles& troubles = theTroubles();
    const std::lock_guard<std::mutex> lock(troubles.mutex);
    if (std::find(troubles.lines.begin(), troubles.lines.end(), strLine) != troubles.lines.end()) {
        return "";
    }
    troubles.lines.push_back(strLine);
    return strLine;
}

class Descriptor {
public:
    Descriptor(const std::string& strFile, int s32Flags) : _s32Fd(open(strFile.c_str(), s32Flags | O_CLOEXEC, 0644)) {
        if (_s32Fd < 0) {
            failWith(strFile);
        }
    }
    ~Descriptor() { close(_s32Fd); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return _s32Fd; }

private:
    const int _s32Fd;
};

void syncFolderOf(const std::string& strFile) {
    const Descriptor folder(strFile.substr(0, strFile.rfind('/') + 1), O_RDONLY | O_DIRECTORY);
    step();
    fsync(folder.get());
}

void keepMode(const std::string& strOld, int s32New) {
    struct stat stOld = {};
    if (stat(strOld.c_str(), &stOld) == 0) {
        fchmod(s32New, stOld.st_mode & 07777);
    }
}

// Has `write` fill a new file, which then replaces the old one and keeps its permissions.
template <class Write>
void replaceBy(const std::string& strFile, Write&& write) {
    const std::string strNew = strFile + ".new";
    step();
    try {
        const Descriptor file(strNew, O_WRONLY | O_CREAT | O_TRUNC);
        keepMode(strFile, file.get());
        write(file.get(), strNew);
        step();
        if (fdatasync(file.get()) != 0) {
            failWith(strNew);
        }
        step();
        if (rename(strNew.c_str(), strFile.c_str()) != 0) {
            failWith(strFile);
        }
    } catch (const SetError&) {
        unlink(strNew.c_str());
        throw;
    }
    syncFolderOf(strFile);
}

}  // namespace

void moveFile(const std::string& strFile, const std::string& strTarget) {
    step();
    if (rename(strFile.c_str(), strTarget.c_str()) != 0) {
        failWith(strTarget);
    }
    syncFolderOf(strTarget);
}

void cutPowerAtWrite(unsigned int u32Write) {
    g_u64WritesLeft = u32Write;
}

void step() {
    if (g_u64WritesLeft.fetch_sub(1) == 1) {
        takeBackUnsynced();
        raise(SIGKILL);
    }
}

void noteHostTrouble(const std::string& strFile, int s32Error) {
    static_cast<void>(note(strFile, s32Error));
}

void tellHostTrouble(const std::string& strFile, int s32Error) {
    if (const std::string strLine = note(strFile, s32Error); !strLine.empty()) {
        std::fprintf(stderr, "virtual set: %s\n", strLine.c_str());
    }
}

void tellFullDisk(const char* pszPath) {
    const int s32Error = errno;
    std::string strBuffer;
    if (isServed(pszPath)) {
        tellHostTrouble(toHost(pszPath, strBuffer), ENOSPC);
    }
    errno = s32Error;
}

void failWith(const std::string& strFile) {
    const int s32Error = errno;
    noteHostTrouble(strFile, s32Error);
    throw SetError(strFile + ": " + std::strerror(s32Error));
}

std::vector<std::string> takeHostTroubles() {
    Troubles& troubles = theTroubles();
    const std::lock_guard<std::mutex> lock(troubles.mutex);
    return std::exchange(troubles.lines, {});
}

std::vector<unsigned char> readFile(const std::string& strFile) {
    const Descriptor file(strFile, O_RDONLY);
    struct stat stStat = {};
    if (fstat(file.get(), &stStat) != 0) {
        failWith(strFile);
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(stStat.st_size));
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t length = read(file.get(), bytes.data() + filled, bytes.size() - filled);
        if (length < 0) {
            failWith(strFile);
        }
        if (length == 0) {
            bytes.resize(filled);
        }
        filled += static_cast<std::size_t>(length);
    }
    return bytes;
}

void writeBlocks(int s32Fd, const std::string& strFile, const void* pData, std::size_t size, std::uint64_t u64Offset) {
    const auto* pu8Data = static_cast<const unsigned char*>(pData);
    while (size != 0) {
        step();
        const std::size_t block = size < kBlock ? size : kBlock;
        const ssize_t written = pwrite(s32Fd, pu8Data, block, static_cast<off_t>(u64Offset));
        if (written < 0) {
            failWith(strFile);
        }
        pu8Data += written;
        size -= static_cast<std::size_t>(written);
        u64Offset += static_cast<std::uint64_t>(written);
    }
}

void writeBlank(int s32Fd, const std::string& strFile, std::uint64_t u64Size, std::uint64_t u64Offset) {
    unsigned char au8Blank[kBlock];
    std::memset(au8Blank, 0xFF, sizeof(au8Blank));
    for (std::uint64_t u64Done = 0; u64Done < u64Size; u64Done += kBlock) {
        writeBlocks(s32Fd, strFile, au8Blank,
                    static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, u64Size - u64Done)), u64Offset + u64Done);
    }
}

void replaceFile(const std::string& strFile, const void* pData, std::size_t size) {
    replaceBy(strFile, [&](int s32Fd, const std::string& strNew) { writeBlocks(s32Fd, strNew, pData, size, 0); });
}

void replaceFileWithBlank(const std::string& strFile, std::uint64_t u64Size) {
    replaceBy(strFile, [&](int s32Fd, const std::string& strNew) { writeBlank(s32Fd, strNew, u64Size, 0); });
}

void replaceFileResized(const std::string& strFile, std::uint64_t u64Size) {
    writeFileResized(strFile, strFile, u64Size);
}

void writeFileResized(const std::string& strFile, const std::string& strTarget, std::uint64_t u64Size) {
    replaceBy(strTarget, [&](int s32Fd, const std::string& strNew) {
        const Descriptor old(strFile, O_RDONLY);
        unsigned char au8Block[kBlock];
        std::uint64_t u64Done = 0;
        while (u64Done < u64Size) {
            const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, u64Size - u64Done));
            const ssize_t length = read(old.get(), au8Block, wanted);
            if (length < 0) {
                failWith(strFile);
            }
            if (length == 0) {
                break;
            }
            writeBlocks(s32Fd, strNew, au8Block, static_cast<std::size_t>(length), u64Done);
            u64Done += static_cast<std::uint64_t>(length);
        }
        writeBlank(s32Fd, strNew, u64Size - u64Done, u64Done);
    });
}

}  // namespace vset
