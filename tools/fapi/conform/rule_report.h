// SPDX-License-Identifier: Apache-2.0
// What came of the rules, for people and for programs.
#ifndef FAPI_BENCH_CONFORM_RULE_REPORT_H
#define FAPI_BENCH_CONFORM_RULE_REPORT_H

#include <chrono>
#include <string>
#include <vector>

#include "conform/rule_run.h"

namespace tool {

struct ConformanceResult {
    std::vector<RuleResult> rules;
    std::string set;
    std::chrono::system_clock::time_point start;
    double seconds = 0;
    bool isInterrupted = false;

    std::size_t count(RuleVerdict verdict) const;
    // A failure that was expected is none.
    std::size_t unexpectedFailures() const;
    Verdict verdict() const;
};

// A line as soon as a rule is checked; the promise and what it breaks where it failed.
void printRule(const RuleResult& result, bool json);
// The counts, and as the last line the verdict. `notChosen` rules were not checked, for what they do to the set.
void printSummary(const ConformanceResult& result, std::size_t notChosen, bool json);

std::string junitOf(const ConformanceResult& result);
std::string pageOf(const ConformanceResult& result);

}  // namespace tool

#endif
