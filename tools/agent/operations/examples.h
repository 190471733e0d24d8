// SPDX-License-Identifier: Apache-2.0
// An example of every operation, as it is typed in the shell. Tests run them all.
#ifndef FAPI_AGENT_OPERATIONS_EXAMPLES_H
#define FAPI_AGENT_OPERATIONS_EXAMPLES_H

#include <vector>

#include "operations/operation.h"

namespace tool {

struct Example {
    const char* line;                      // the operation's short name and its arguments
    std::vector<const char*> before = {};  // lines that a new set needs first
    // Why it answers a failure, where nothing better can be shown.
    const char* whyNot = nullptr;
};

const std::vector<Example>& examples();

// Null when the operation has none.
const Example* exampleOf(const Operation& operation);

}  // namespace tool

#endif
