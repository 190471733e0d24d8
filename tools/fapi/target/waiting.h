// SPDX-License-Identifier: Apache-2.0
// Waiting for what is no message of the set, while the set's messages are handled.
#ifndef FAPI_BENCH_TARGET_WAITING_H
#define FAPI_BENCH_TARGET_WAITING_H

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include <poll.h>

namespace tool {

// Throws what has ended the waiting; called each time something may have come.
using CheckWaiting = std::function<void()>;

// Waits until one of the descriptors is ready, as poll() says it, or until that time; returns earlier when something
// has come from the set. Handles the set's messages meanwhile, if a session is open.
void waitBesidesSet(std::vector<pollfd>& waited, std::optional<std::chrono::steady_clock::time_point> until);

}  // namespace tool

#endif
