// SPDX-License-Identifier: Apache-2.0
// Operations that others need before them.
#ifndef FAPI_AGENT_WORKER_PREPARATION_H
#define FAPI_AGENT_WORKER_PREPARATION_H

#include <string>
#include <vector>

#include "operations/operation.h"

namespace tool {

// All calls of operations are made on one thread.

struct Preparation {
    Field::List names;     // of those that were called
    Field::List failures;  // of them: "operation", "word", and what an answer to a call has
    std::vector<RefusedCall> refusals;
};

// Calls what the operation needs and this worker has not called yet.
Preparation prepareFor(const OperationRow& row);
void noteCalled(const OperationRow& row);

// "ok", "failed", ...; also for what is not good although the status is the one that it always is.
std::string wordOf(Result result, const Outcome& outcome);

}  // namespace tool

#endif
