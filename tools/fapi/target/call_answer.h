// SPDX-License-Identifier: Apache-2.0
// What an agent answers to a call of an operation, or to an action.
#ifndef FAPI_BENCH_TARGET_CALL_ANSWER_H
#define FAPI_BENCH_TARGET_CALL_ANSWER_H

#include <chrono>
#include <string>
#include <vector>

#include "protocol/outcome.h"

namespace tool {

// An operation that others need, and that has failed before one of them.
struct Unprepared {
    std::string operation;
    Outcome outcome;
};

struct CallAnswer {
    Outcome outcome;
    std::vector<std::string> prepared;  // operations that were called before it
    std::vector<Unprepared> unprepared;
    std::chrono::steady_clock::time_point begun, ended;  // by the clock of the agent's machine
    std::vector<std::string> log;                        // its lines of level E, when it is not good
    std::vector<std::string> troubles;                   // what the agent's machine could not store for the set
};

// Throws MessageError.
CallAnswer parseCallAnswer(const Field& result);
std::vector<Unprepared> parseUnprepared(const Field& result);

}  // namespace tool

#endif
