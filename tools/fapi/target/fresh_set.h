// SPDX-License-Identifier: Apache-2.0
// New sets for single runs, in temporary folders: removed after a run that passed, kept for a while after any other.
#ifndef FAPI_BENCH_TARGET_FRESH_SET_H
#define FAPI_BENCH_TARGET_FRESH_SET_H

#include <cstddef>
#include <string>
#include <vector>

namespace tool {

// Locks files, and lets go of them at its end.
class FileLocks {
public:
    FileLocks() = default;
    ~FileLocks();
    FileLocks(const FileLocks&) = delete;
    FileLocks& operator=(const FileLocks&) = delete;

    // False when another process has it locked. What is not there, or is no plain file, has nobody locked.
    bool take(const std::string& file);

private:
    std::vector<int> _descriptors;
};

class FreshSet {
public:
    // Makes the folder of a set that is made when it is first switched on, and first removes the sets of earlier runs
    // but for the newest ones. Throws SetError.
    FreshSet();
    // Of a run that is resumed.
    explicit FreshSet(const std::string& setFolder);
    // Closes the session, which is that of this set.
    ~FreshSet();
    FreshSet(const FreshSet&) = delete;
    FreshSet& operator=(const FreshSet&) = delete;

    // Of the set.
    const std::string& folder() const { return _set; }
    // Whether it may be wanted for finding a fault; it is removed unless told.
    void keep(bool kept);

private:
    std::string _folder;  // with the lock and the set
    std::string _set;
    FileLocks _locks;
    bool _kept = false;
};

// How many of those that runs have left stay when another run makes its own.
constexpr std::size_t kLeftSets = 5;

// The folders of the temporary sets that runs of this user have left or are using, newest first.
std::vector<std::string> temporarySets();

// Locks such a folder against runs and against programs that use the set in it. False when one has it.
bool lockTemporarySet(const std::string& folder, FileLocks& locks);

// The set in such a folder.
std::string setIn(const std::string& folder);

}  // namespace tool

#endif
