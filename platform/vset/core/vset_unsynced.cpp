// SPDX-License-Identifier: Apache-2.0
// Changes of the set's tree that no HW_FS_Sync has followed, which a power cut takes back.
#include "vset_unsynced.h"

#include <atomic>
#include <exception>
#include <filesystem>
#include <mutex>
#include <set>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "vset/vset.h"
#include "vset_folder.h"
#include "vset_storage.h"

namespace fs = std::filesystem;

namespace vset {

namespace {

// The earlier contents of a path.
struct Before {
    std::string strFile;
    mode_t mode = 0;  // 0: nothing was there
    std::vector<unsigned char> content;
    std::string strTarget;  // of a link
};

struct Unsynced {
    std::mutex mutex;
    std::vector<Before> before;  // in the order of the changes: a folder comes before what is in it
    std::set<std::string> files;
    std::atomic<std::uint32_t> u32Syncs{1};
};

Unsynced& theUnsynced() {
    static Unsynced& unsynced = *new Unsynced;
    return unsynced;
}

// Returns the path without links; its end need not exist.
std::string placeOf(const fs::path& file, Link eLink) {
    return eLink == Link::followed ? fs::weakly_canonical(file).string()
                                   : (fs::weakly_canonical(file.parent_path()) / file.filename()).string();
}

bool isInTree(const std::string& strPlace) {
    const std::string strTree = fs::weakly_canonical(loadedFolder() + "/tree/").string();
    return !loadedFolder().empty() && strPlace.compare(0, strTree.size(), strTree) == 0;
}

// Returns whether a file is remembered. Folders are made and never changed; the contents of a pipe are lost with the
// power.
bool isKept(mode_t mode) {
    return mode == 0 || S_ISREG(mode) || S_ISLNK(mode);
}

Before look(const std::string& strFile) {
    Before stBefore = {strFile, 0, {}, ""};
    struct stat stStat = {};
    if (lstat(strFile.c_str(), &stStat) != 0) {
        return stBefore;
    }
    stBefore.mode = stStat.st_mode;
    if (S_ISREG(stStat.st_mode)) {
        stBefore.content = readFile(strFile);
    } else if (S_ISLNK(stStat.st_mode)) {
        stBefore.strTarget = fs::read_symlink(strFile).string();
    }
    return stBefore;
}

void putBack(const Before& stBefore) {
    std::error_code error;
    if (stBefore.mode == 0) {
        fs::remove(stBefore.strFile, error);
    } else if (S_ISLNK(stBefore.mode)) {
        fs::create_symlink(stBefore.strTarget, stBefore.strFile, error);
    } else if (const int s32Fd = open(stBefore.strFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
               s32Fd >= 0) {
        [[maybe_unused]] const ssize_t written = write(s32Fd, stBefore.content.data(), stBefore.content.size());
        fchmod(s32Fd, stBefore.mode & 07777);
        close(s32Fd);
    }
}

}  // namespace

void rememberSynced(const std::string& strFile, Link eLink) {
    const HostPaths hostPaths;
    const int s32Errno = errno;
    Unsynced& unsynced = theUnsynced();
    const std::lock_guard<std::mutex> lock(unsynced.mutex);
    try {
        const std::string strPlace = placeOf(strFile, eLink);
        if (unsynced.files.count(strPlace) == 0 && isInTree(strPlace)) {
            Before stBefore = look(strPlace);
            if (isKept(stBefore.mode)) {
                unsynced.before.push_back(std::move(stBefore));
                unsynced.files.insert(strPlace);
            }
        }
    } catch (const std::exception&) {
        // An unreadable file stays as the program leaves it.
    }
    errno = s32Errno;
}

void forgetSynced() {
    Unsynced& unsynced = theUnsynced();
    const std::lock_guard<std::mutex> lock(unsynced.mutex);
    unsynced.before.clear();
    unsynced.files.clear();
    ++unsynced.u32Syncs;
}

std::uint32_t syncNumber() {
    return theUnsynced().u32Syncs;
}

void takeBackUnsynced() noexcept {
    const HostPaths hostPaths;
    Unsynced& unsynced = theUnsynced();
    const std::lock_guard<std::mutex> lock(unsynced.mutex);
    for (auto it = unsynced.before.rbegin(); it != unsynced.before.rend(); ++it) {
        putBack(*it);
    }
}

}  // namespace vset
