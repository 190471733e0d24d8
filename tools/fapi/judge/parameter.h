// SPDX-License-Identifier: Apache-2.0
// "param" in plans: what a run of it is told from outside.
#ifndef FAPI_BENCH_JUDGE_PARAMETER_H
#define FAPI_BENCH_JUDGE_PARAMETER_H

#include <map>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "base/words.h"

namespace tool {

struct PlanParameter {
    std::string name;
    std::string what;
    std::optional<std::string> fallback;
    std::string pattern;  // empty: any value
    std::regex expression;
};

// The values of a run, by name.
using ParameterValues = std::map<std::string, std::string>;

// Reads "param NAME [matches RE] [default VALUE] WHAT". Throws UsageError.
PlanParameter parseParameter(const Words& words);

// Throws UsageError for a value that the parameter does not take.
void checkValue(const PlanParameter& parameter, const std::string& value);

// Throws UsageError unless there is a parameter of that name, with the nearest one that is there.
void requireParameter(const std::vector<PlanParameter>& parameters, const std::string& name);

// The values of all parameters: those given that are of the plan, or else the defaults. Throws UsageError for a value
// that is missing or wrong.
ParameterValues completeValues(const std::vector<PlanParameter>& parameters, const ParameterValues& given);

// What is longer is not matched: that would need more stack than there is.
constexpr std::size_t kLongestValue = 4096;

// Compiles a regular expression of a plan. Throws UsageError.
std::regex parsePattern(const std::string& text);
// Whether the text has it. What is too long to be matched has it not.
bool hasPattern(const std::string& text, const std::regex& pattern);

}  // namespace tool

#endif
