// SPDX-License-Identifier: Apache-2.0
// Descriptors and threads of this process.
#ifndef TESTS_SUPPORT_DESCRIPTORS_H
#define TESTS_SUPPORT_DESCRIPTORS_H

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace test {

// Counts the open descriptors of this process.
inline int openDescriptors() {
    int s32Count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        ++s32Count;
    }
    return s32Count;
}

// Counts the threads of this process, without those of the middleware, which never end.
inline int threads() {
    // A sanitizer starts a thread of its own with the first one.
    [[maybe_unused]] static const bool bFirst = (std::thread([] {}).join(), true);
    int s32Count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string strName;
        std::getline(std::ifstream(entry.path() / "comm"), strName);
        s32Count += strName.rfind("hw3-", 0) != 0 ? 1 : 0;
    }
    return s32Count;
}

}  // namespace test

#endif
