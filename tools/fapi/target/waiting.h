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
// Waits as waitBesidesSet() does, and throws what has ended the waiting.
using Waiting = std::function<void(std::vector<pollfd>& waited, std::chrono::steady_clock::time_point until)>;

// Waits until one of the descriptors is ready, as poll() says it, or until that time; returns earlier when something
// has come from the set. Handles the set's messages meanwhile, if a session is open.
void waitBesidesSet(std::vector<pollfd>& waited, std::optional<std::chrono::steady_clock::time_point> until);

// As long as this is there, what waits for the open session wakes up when one of the descriptors is readable.
class SetWatches {
public:
    // `isReadable` is called once for each that is.
    SetWatches(const std::vector<pollfd>& waited, const std::function<void()>& isReadable);
    ~SetWatches();
    SetWatches(const SetWatches&) = delete;
    SetWatches& operator=(const SetWatches&) = delete;

private:
    std::vector<int> _watched;
};

}  // namespace tool

#endif
