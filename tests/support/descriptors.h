// SPDX-License-Identifier: Apache-2.0
// Descriptors and threads of this process.
#ifndef TESTS_SUPPORT_DESCRIPTORS_H
#define TESTS_SUPPORT_DESCRIPTORS_H

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support/waiting.h"

namespace test {

// Counts the open descriptors of this process.
inline int openDescriptors() {
    int s32Count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        ++s32Count;
    }
    return s32Count;
}

// Returns whether what was opened since `s32Before` were counted is closed. The virtual set's serial lines may have a
// file open for a moment.
inline bool areAllClosedSince(int s32Before) {
    return eventually([s32Before] { return openDescriptors() <= s32Before; });
}

// Returns the names, of 15 characters at most, of this process's threads, without those of the middleware, which never
// end.
inline std::vector<std::string> threadNames() {
    // A sanitizer starts a thread of its own with the first one.
    [[maybe_unused]] static const bool bFirst = (std::thread([] {}).join(), true);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string strName;
        std::getline(std::ifstream(entry.path() / "comm"), strName);
        if (strName.rfind("hw3-", 0) != 0) {
            names.push_back(strName);
        }
    }
    return names;
}

inline int threads() {
    return static_cast<int>(threadNames().size());
}

}  // namespace test

#endif
