// SPDX-License-Identifier: Apache-2.0
// What one call of an operation, or one action, has answered.
#ifndef FAPI_PROTOCOL_OUTCOME_H
#define FAPI_PROTOCOL_OUTCOME_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "protocol/description.h"

namespace tool {

// An entry of a list that a command answers.
struct Row {
    Value value;  // a number, or the line that a person reads
    // The parts of that line, when they have names; without any it is as it stands.
    std::vector<std::pair<std::string, Value>> fields = {};
};
using Rows = std::vector<Row>;

// A call of the middleware that was made in vain.
struct FailedCall {
    std::string name;
    std::string arguments;  // "type=2 key=\"serial\""
    long long result = 0;
    std::string word;  // "busy", or what errno says; empty when nothing says more than the result
    bool byFault = false;
};

// A call of the middleware that the chip refused.
struct RefusedCall {
    std::uint64_t number = 0;  // counts the refusals of this process
    std::string name;
    std::string arguments;
    long long result = 0;
    std::string word;       // "invalid-handle"
    std::string objection;  // why the call was wrong, where the chip did as it was told all the same
    std::string contract;   // why the library makes the call all the same; empty when it must not
};

struct Outcome {
    long long status = 0;
    bool good = true;  // as the operation's kind of result says
    std::vector<std::pair<std::string, Value>> outputs;
    // Those of them that are lists, by name: a text for people and for what plans expect, and for programs this.
    std::map<std::string, Rows> lists;
    std::vector<FailedCall> failedCalls;  // why it is not good, oldest first
    std::vector<RefusedCall> refusals;    // while an operation ran, on any thread, oldest first

    // The output of that name, or null.
    const Value* find(std::string_view name) const;
};

// Whether a result of that kind means success.
bool isGood(Result result, long long status);

// "ok", "failed", "invalid parameter", ... for a result of that kind.
std::string statusWord(Result result, long long status);

// "HW_GPIO_Open(pad=12) = 0xf": a call with what it has answered, as the journal writes it.
std::string callText(const std::string& name, const std::string& arguments, long long result);
// "HW_GPIO_Open(pad=12) = 0xf (busy)"
std::string displayCall(const FailedCall& call);
// "the chip refused HW_NET_Close(handle=0x2b1f4c3) = 0x7 (invalid-handle)"
std::string displayRefusal(const RefusedCall& call);

// Adds what the answer to a call has of it: status, good, outputs, failed, refused.
void addTo(Field& answer, const Outcome& outcome);
// Throws MessageError.
Outcome parseOutcome(const Field& answer);

}  // namespace tool

#endif
