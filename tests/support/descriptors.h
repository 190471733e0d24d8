// SPDX-License-Identifier: Apache-2.0
// What this process holds of the PC.
#ifndef TESTS_SUPPORT_DESCRIPTORS_H
#define TESTS_SUPPORT_DESCRIPTORS_H

#include <filesystem>

namespace test {

// How many descriptors this process has open.
inline int openDescriptors() {
    int s32Count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        ++s32Count;
    }
    return s32Count;
}

}  // namespace test

#endif
