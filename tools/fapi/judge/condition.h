// SPDX-License-Identifier: Apache-2.0
// What a value has to be.
#ifndef FAPI_BENCH_JUDGE_CONDITION_H
#define FAPI_BENCH_JUDGE_CONDITION_H

#include <cstddef>
#include <regex>
#include <string>
#include <string_view>

#include "judge/variables.h"
#include "judge/verdict.h"

namespace tool {

// What can be expected of each line: how many calls the chip has refused.
constexpr std::string_view kRefusals = "refusals";

enum class Compare { good, failed, is, isNot, contains, startsWith, matches, within };

// What a value has to be: "checksum in 100..200 margin 5".
struct Condition {
    std::string subject;  // "status", the name of an output or a field of an event
    Compare compare = Compare::is;
    std::string expected;  // may hold ${NAME}
    long long low = 0, high = 0, margin = 0;
    std::regex pattern;
};

// Reads "[is|contains|...] VALUE" from words[i] on into a condition that has its subject. Returns the place behind it.
// Throws UsageError.
std::size_t readCondition(const Words& words, std::size_t i, Condition& condition);

// Whether it is a word such as "is" or "contains".
bool isCompareWord(const std::string& word);

// A number, or a text that is one: what a range is about. False for anything else.
bool asNumber(const Value& value, long long& number);

// The text is why not. Throws UsageError when a value makes nonsense of what is expected.
Judgement judge(const Condition& condition, const Value& value, const Variables& variables);

}  // namespace tool

#endif
