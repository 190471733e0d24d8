// SPDX-License-Identifier: Apache-2.0
// How a target's first client starts its hub.
#ifndef FAPI_BENCH_HUB_START_H
#define FAPI_BENCH_HUB_START_H

#include <string>
#include <vector>

#include "hub/agent_wire.h"
#include "hub/descriptor.h"
#include "hub/socket.h"

namespace tool {

// Until when a start is waited for, and a descriptor that is readable when the user wants no longer to wait; -1: none.
struct HubPatience {
    Clock::time_point until;
    int stop = -1;
};

// Returns a connection to the hub that listens at `socket`; starts it first, by that command, when there is none.
// Throws RequestError: `canceled` when the user does not wait.
Descriptor startHub(const HubSocket& socket, const std::vector<std::string>& command, const HubPatience& patience);

}  // namespace tool

#endif
