// SPDX-License-Identifier: Apache-2.0
// A set without other users, for what changes it as a whole.
#ifndef FAPI_BENCH_TARGET_SOLE_USE_H
#define FAPI_BENCH_TARGET_SOLE_USE_H

#include <string>

#include "target/target.h"

namespace tool {

// Claims the set and switches it off; `reason` is what other clients see. Throws SetError when another client uses it.
void requireSoleUse(Target& target, const std::string& reason);

}  // namespace tool

#endif
