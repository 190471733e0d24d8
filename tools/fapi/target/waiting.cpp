// SPDX-License-Identifier: Apache-2.0
// Waiting for what is no message of the set.
#include "target/waiting.h"

#include "hub/agent_wire.h"
#include "target/session.h"

namespace tool {

void waitBesidesSet(std::vector<pollfd>& waited, std::optional<std::chrono::steady_clock::time_point> until) {
    if (isSessionOpen()) {
        for (const pollfd& entry : waited) {
            if (entry.fd >= 0 && entry.events == POLLIN) {
                session().watch(entry.fd, [] {});
            }
        }
        // Without an end it is looked at again after an hour.
        constexpr int kHour = 3600000;
        session().pump(std::chrono::milliseconds(until ? waitTime(until) : kHour));
        for (const pollfd& entry : waited) {
            session().unwatch(entry.fd);
        }
        until = Clock::now();
    }
    poll(waited.data(), waited.size(), waitTime(until));
}

}  // namespace tool
