// SPDX-License-Identifier: Apache-2.0
// The worker's descriptors. 0 is /dev/null, 1 the pipe of the library's log, and none of the worker's own is below 3.
#ifndef FAPI_AGENT_WORKER_DESCRIPTORS_H
#define FAPI_AGENT_WORKER_DESCRIPTORS_H

#include <array>

#include "supervisor/internal.h"

namespace tool {

// Moves the worker's own descriptors above the numbers that programs use, and keeps copies of 0 and 1 there.
void separateDescriptors(std::array<int, kWays>& own);

// Opens 0 and 1 again after a call that has closed them, which one does by contract.
void putDescriptorsBack();

}  // namespace tool

#endif
