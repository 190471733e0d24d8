// SPDX-License-Identifier: Apache-2.0
// How a target's first client starts its hub.
#ifndef FAPI_BENCH_TARGET_HUB_START_H
#define FAPI_BENCH_TARGET_HUB_START_H

#include <string>
#include <vector>

#include "target/descriptor.h"
#include "target/hub_socket.h"

namespace tool {

// Returns a connection to the hub that listens at `socket`; starts it first, by that command, when there is none.
// Throws RequestError.
Descriptor startHub(const HubSocket& socket, const std::vector<std::string>& command);

}  // namespace tool

#endif
