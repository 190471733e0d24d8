// SPDX-License-Identifier: Apache-2.0
// `fapi clients` and `fapi take`: who uses the set, and who may change it.
#ifndef FAPI_BENCH_CLI_HUB_H
#define FAPI_BENCH_CLI_HUB_H

#include <string>

#include "target/target.h"

namespace tool {

// Returns the clients of the set's hub: a line each, or one line of JSON. Throws RequestError.
std::string clientsText(TargetOptions options, bool asJson);

// Takes the claim away from the client that has it, which is given the reason, and lets go of it. Returns what was
// done, as a line or as JSON. Throws RequestError.
std::string takeClaim(TargetOptions options, const std::string& reason, bool asJson);

}  // namespace tool

#endif
