// SPDX-License-Identifier: Apache-2.0
// The worker's descriptors.
#include "worker/descriptors.h"

#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace tool {

namespace {

// Above those that a library receives, which expects small numbers.
constexpr int kAbove = 256;

int g_copies[] = {-1, -1};

int moveAbove(int descriptor) {
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, kAbove);
    // The process may not have that many descriptors.
    return moved >= 0 ? moved : fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

}  // namespace

void separateDescriptors(std::array<int, kWays>& own) {
    for (int i = 0; i < 2; ++i) {
        g_copies[i] = moveAbove(i);
    }
    for (int& descriptor : own) {
        close(std::exchange(descriptor, moveAbove(descriptor)));
    }
}

void putDescriptorsBack() {
    for (int i = 0; i < 2; ++i) {
        if (fcntl(i, F_GETFD) < 0) {
            dup2(g_copies[i], i);
        }
    }
}

}  // namespace tool
