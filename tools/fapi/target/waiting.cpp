// SPDX-License-Identifier: Apache-2.0
// Waiting for what is no message of the set.
#include "target/waiting.h"

#include "hub/agent_wire.h"
#include "target/session.h"

namespace tool {

void waitBesidesSet(std::vector<pollfd>& waited, std::optional<std::chrono::steady_clock::time_point> until) {
    if (isSessionOpen()) {
        const SetWatches watches(waited, [] {});
        // Without an end it is looked at again after an hour.
        constexpr int kHour = 3600000;
        session().pump(std::chrono::milliseconds(until ? waitTime(until) : kHour));
        until = Clock::now();
    }
    poll(waited.data(), waited.size(), waitTime(until));
}

SetWatches::SetWatches(const std::vector<pollfd>& waited, const std::function<void()>& isReadable) {
    for (const pollfd& entry : waited) {
        if (entry.fd >= 0 && entry.events == POLLIN) {
            // What is readable stays so until it is read, which is no matter of whoever waits meanwhile.
            session().watch(entry.fd, [isReadable, watched = entry.fd] {
                session().unwatch(watched);
                isReadable();
            });
            _watched.push_back(entry.fd);
        }
    }
}

SetWatches::~SetWatches() {
    if (isSessionOpen()) {
        for (const int watched : _watched) {
            session().unwatch(watched);
        }
    }
}

}  // namespace tool
