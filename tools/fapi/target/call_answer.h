// SPDX-License-Identifier: Apache-2.0
// What an agent answers to a call of an operation, or to an action.
#ifndef FAPI_BENCH_TARGET_CALL_ANSWER_H
#define FAPI_BENCH_TARGET_CALL_ANSWER_H

#include <string>
#include <utility>
#include <vector>

#include "protocol/field.h"

namespace tool {

// By the clocks of the agent's machine, in nanoseconds.
struct Moment {
    long long mono = 0;  // since some moment of its own
    long long wall = 0;  // since 1970
};

// A row of an output that is a list.
struct AnswerRow {
    Value value;
    std::vector<std::pair<std::string, Value>> fields;
};

struct AnswerOutput {
    std::string name;
    Value value;
    std::vector<AnswerRow> rows;  // when it is a list
};

// A call of the middleware that failed or that the chip refused.
struct MiddlewareCall {
    long long number = 0;  // of refusals
    std::string name;
    std::string arguments;
    long long result = 0;
    std::string word;       // "busy"; empty when nothing says more than the result
    bool byFault = false;   // a planted fault has answered
    std::string objection;  // why it was wrong, where the chip did as it was told all the same
    std::string contract;   // why the library makes it all the same; empty when it must not
};

struct CallAnswer {
    long long status = 0;
    std::string word;  // "ok"
    bool good = true;
    std::vector<AnswerOutput> outputs;
    std::vector<std::string> prepared;  // operations that were called before it
    long long microseconds = 0;
    Moment begun, ended;
    std::vector<MiddlewareCall> failedCalls;
    std::vector<MiddlewareCall> refusals;
    std::vector<std::string> log;       // lines of level E
    std::vector<std::string> troubles;  // what the agent's machine could not store for the set

    // The output of that name, or null.
    const AnswerOutput* find(std::string_view name) const;
};

// Throws MessageError.
CallAnswer parseCallAnswer(const Field& result);

}  // namespace tool

#endif
