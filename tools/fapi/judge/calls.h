// SPDX-License-Identifier: Apache-2.0
// The middleware calls of a running plan, those that the chip refused, and the expectations of both.
#ifndef FAPI_BENCH_JUDGE_CALLS_H
#define FAPI_BENCH_JUDGE_CALLS_H

#include <cstdint>
#include <string>
#include <vector>

#include "base/words.h"
#include "judge/call_pattern.h"
#include "judge/variables.h"
#include "judge/verdict.h"
#include "protocol/outcome.h"

namespace tool {

// Which calls of the middleware have to be made, in this order: "calls HW_DISP_SetMute, HW_DISP_ApplySetting".
struct CallsCondition {
    bool exactly = false;            // no others
    std::vector<std::string> calls;  // as CallPattern reads them; may hold ${NAME}
};

// Whether the words of a line behind "expect" are about calls, and not about an output of that name.
bool beginsCallsCondition(const Words& words);
// Throws UsageError.
CallsCondition parseCallsCondition(const Words& words);

// Follows what all threads of the set's worker call.
class CallWatch {
public:
    // Another worker counts its calls and refusals from 1. It has already refused so many.
    void beginWorker(std::uint64_t refused = 0);

    // Begins a line, whose calls are those after `last`. What was refused since the line before counts to it, too.
    void beginLine(std::uint64_t last);
    // A call that the journal has reported.
    void addCall(JournalCall call);
    // What an answer has named; those that are known already are left out.
    void addRefusals(std::vector<RefusedCall> refusals);
    // The number of the last refusal that is known.
    std::uint64_t lastRefusal() const { return _lastRefusal; }

    // Returns an error of the station when not all calls of the line were reported. Throws UsageError.
    Judgement judge(const CallsCondition& condition, const Variables& variables) const;

    // Counts the refusals that no other line has, and takes them for judged.
    long long judgedRefusals();
    // Returns them all, for the end of the line.
    std::vector<RefusedCall> takeRefusals();
    // Returns a failure that names the first of those that are neither by contract nor judged; else a passed one.
    Judgement judgeRefusals(const std::vector<RefusedCall>& refusals) const;

private:
    std::vector<JournalCall> _calls;     // of the line
    std::uint64_t _last = 0;             // the last call that was reported
    std::uint64_t _missing = 0;          // of the line, between those that were reported
    std::vector<RefusedCall> _refusals;  // since the line before
    std::uint64_t _lastRefusal = 0;
    std::uint64_t _judged = 0;  // the last refusal that an expectation has counted
};

}  // namespace tool

#endif
