// SPDX-License-Identifier: Apache-2.0
// Temporary sets as folders: fapi-set-XXXXXX with the set and a lock beside it, by which such a folder is known.
#include "target/fresh_set.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/terminal.h"
#include "target/session.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr char kPrefix[] = "fapi-set-";
constexpr char kLock[] = "/fapi-run.lock";

// Locked by the process that has the set.
std::string lockIn(const std::string& set) {
    return set + "/lock";
}

std::string temporaryFolder() {
    std::error_code error;
    const fs::path folder = fs::temp_directory_path(error);
    if (error) {
        throw SetError("no temporary set can be made: TMPDIR: " + error.message());
    }
    return folder.string();
}

// Whether it is there, of that kind and this user's. Links are not followed.
bool isOurs(const std::string& path, mode_t kind, struct stat& status) {
    return lstat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == kind && status.st_uid == geteuid();
}

// Whether a run has made the folder, and when.
bool isTemporarySet(const fs::path& folder, timespec& made) {
    struct stat status = {}, lock = {};
    const bool ours = folder.filename().string().rfind(kPrefix, 0) == 0 && isOurs(folder.string(), S_IFDIR, status) &&
                      isOurs(folder.string() + kLock, S_IFREG, lock);
    made = lock.st_mtim;
    return ours;
}

void removeOldSets() {
    const std::vector<std::string> folders = temporarySets();
    for (std::size_t i = kLeftSets; i < folders.size(); ++i) {
        FileLocks locks;
        std::error_code error;
        if (lockTemporarySet(folders[i], locks)) {
            fs::remove_all(folders[i], error);
        }
    }
}

// Waits, for so long at most, until no process has the set.
void waitUntilOff(const std::string& set) {
    constexpr std::chrono::seconds kPatience{2};
    constexpr std::chrono::milliseconds kBetweenTries{5};
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    for (bool isOff = false; !isOff && std::chrono::steady_clock::now() < deadline;) {
        isOff = FileLocks().take(lockIn(set));
        if (!isOff) {
            std::this_thread::sleep_for(kBetweenTries);
        }
    }
}

}  // namespace

FileLocks::~FileLocks() {
    for (const int descriptor : _descriptors) {
        close(descriptor);
    }
}

bool FileLocks::take(const std::string& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        return errno == ENOENT || errno == ELOOP;
    }
    _descriptors.push_back(descriptor);
    return flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

FreshSet::FreshSet() : _folder(temporaryFolder() + "/" + kPrefix + "XXXXXX") {
    removeOldSets();
    if (mkdtemp(_folder.data()) == nullptr) {
        throw SetError(_folder + ": " + std::strerror(errno));
    }
    try {
        const std::string lock = _folder + kLock;
        const int descriptor = open(lock.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (descriptor < 0) {
            throw SetError(lock + ": " + std::strerror(errno));
        }
        close(descriptor);
        if (!_locks.take(lock)) {
            throw SetError(lock + ": somebody else has it locked");
        }
        _set = setIn(_folder);
    } catch (const SetError&) {
        std::error_code error;
        fs::remove_all(_folder, error);
        throw;
    }
}

FreshSet::FreshSet(const std::string& setFolder)
    : _folder(fs::path(setFolder).parent_path().string()), _set(setFolder), _kept(true) {
    _locks.take(_folder + kLock);
}

FreshSet::~FreshSet() {
    // The set's programs are to be gone before it is removed, or is looked at.
    closeSession();
    waitUntilOff(_set);
    std::error_code error;
    // The folder of a run that is resumed stands in a file, which might name any.
    if (timespec made = {}; !_kept && isTemporarySet(_folder, made)) {
        fs::remove_all(_folder, error);
    }
}

void FreshSet::keep(bool kept) {
    _kept = kept;
    if (kept) {
        printMessage("the set is kept in " + _set);
    }
}

std::vector<std::string> temporarySets() {
    std::vector<std::pair<timespec, std::string>> found;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(temporaryFolder(), error)) {
        if (timespec made = {}; isTemporarySet(entry.path(), made)) {
            found.emplace_back(made, entry.path().string());
        }
    }
    std::sort(found.begin(), found.end(), [](const auto& left, const auto& right) {
        return std::tie(left.first.tv_sec, left.first.tv_nsec, left.second) >
               std::tie(right.first.tv_sec, right.first.tv_nsec, right.second);
    });
    std::vector<std::string> folders;
    folders.reserve(found.size());
    for (auto& [time, folder] : found) {
        folders.push_back(std::move(folder));
    }
    return folders;
}

bool lockTemporarySet(const std::string& folder, FileLocks& locks) {
    return locks.take(folder + kLock) && locks.take(lockIn(setIn(folder)));
}

std::string setIn(const std::string& folder) {
    return folder + "/set";
}

}  // namespace tool
