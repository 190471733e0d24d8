// SPDX-License-Identifier: Apache-2.0
// The arguments of a call or an action, from a request.
#ifndef FAPI_AGENT_WORKER_ARGUMENTS_H
#define FAPI_AGENT_WORKER_ARGUMENTS_H

#include <vector>

#include "protocol/description.h"

namespace tool {

// Reads a list in the order of the arguments, or an object by their names; what is left out has its default. A number,
// flag, choice or color may be given as its word, too. Throws UsageError, whose word is the argument's place.
std::vector<Value> argumentsOf(const std::vector<Argument>& arguments, const Field& given);

}  // namespace tool

#endif
