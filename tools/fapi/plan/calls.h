// SPDX-License-Identifier: Apache-2.0
// The middleware calls of a running plan, those that the chip refused, and the expectations of both.
#ifndef FAPI_BENCH_PLAN_CALLS_H
#define FAPI_BENCH_PLAN_CALLS_H

#include <cstdint>

#include "plan/plan.h"

namespace tool {

// Follows what all threads of this process call.
class CallWatch {
public:
    // Begins a line: its calls are those from here on. What was refused since the line before counts to it, too.
    void beginLine();

    // Returns an error of the station when the journal no longer has all calls of the line. Throws UsageError.
    Judgement judge(const CallsCondition& condition, const Variables& variables) const;

    // Counts the refusals that no other line has, and takes them for judged.
    long long judgedRefusals();
    // Returns them all, for the end of the line.
    std::vector<RefusedCall> takeRefusals(const Operation* operation);
    // Returns a failure that names the first of those that are neither by contract nor judged; else a passed one.
    Judgement judgeRefusals(const std::vector<RefusedCall>& refusals) const;

private:
    std::uint64_t _before = 0;  // the last call before the line
    std::uint64_t _taken = 0;   // the last refusal of the lines before
    std::uint64_t _judged = 0;  // the last refusal that an expectation has counted
};

}  // namespace tool

#endif
