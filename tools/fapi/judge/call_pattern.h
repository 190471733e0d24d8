// SPDX-License-Identifier: Apache-2.0
// Looking for calls in the journal: by function, arguments, outputs and result.
#ifndef FAPI_BENCH_JUDGE_CALL_PATTERN_H
#define FAPI_BENCH_JUDGE_CALL_PATTERN_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "protocol/field.h"

namespace tool {

// A call as the journal has it.
struct JournalCall {
    unsigned long long number = 0;
    std::string name;
    std::string arguments;
    std::string outputs;
    long long result = 0;
};
// Throws MessageError.
JournalCall parseJournalCall(const Field& field);

// A call to look for: `HW_DISP_SetMute flags=0x400`, `HW_GPIO_Open pad=7 result=0`. Only the fields that are named are
// compared, numbers by their value; a text needs its quotes only when it has a blank.
struct CallPattern {
    std::string text;  // as it was written
    std::string call;
    std::vector<std::pair<std::string, std::string>> fields;
    std::optional<long long> result;

    // Throws UsageError for a pattern that cannot be read, and for a function or field that the description does not
    // have.
    explicit CallPattern(const std::string& pattern);

    bool matches(const JournalCall& entry) const;
};

// Says whether other calls may come between the expected ones.
enum class OtherCalls { allowed, forbidden };

// Returns nothing when the calls of `entries` are those of `patterns`, in this order, else one line that says which
// call is missing or in the way.
std::string findCalls(const std::vector<CallPattern>& patterns, const std::vector<JournalCall>& entries,
                      OtherCalls others = OtherCalls::allowed);

// Returns the call in one line: `HW_GPIO_Open(pad=7) = 0, handle=0x2b1f4c3`.
std::string callLine(const JournalCall& entry);

}  // namespace tool

#endif
