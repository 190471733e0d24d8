// SPDX-License-Identifier: Apache-2.0
// What this agent says of itself.
#ifndef FAPI_AGENT_WORKER_DESCRIPTION_H
#define FAPI_AGENT_WORKER_DESCRIPTION_H

#include "protocol/description.h"

namespace tool {

// Of the rows, the modules' events, the middleware's functions and the set's pictures; made once.
const Description& ownDescription();
// Of the rows of actions alone: what a fixture of a virtual set in the role of a board has.
const Description& ownActions();

}  // namespace tool

#endif
