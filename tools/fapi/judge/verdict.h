// SPDX-License-Identifier: Apache-2.0
// What a step, a line or an expectation comes to.
#ifndef FAPI_BENCH_JUDGE_VERDICT_H
#define FAPI_BENCH_JUDGE_VERDICT_H

#include <string>

namespace tool {

// In the order of their weight, but for what was skipped because the plan wants it so. `error` is one of the station:
// what the set would have done is not known.
enum class Verdict { passed, marginal, failed, error, died, interrupted, notRun, skipped };
const char* verdictName(Verdict verdict);
// What a plan's verdict is called where it is to be read from afar: "PASS".
const char* verdictWord(Verdict verdict);
// Whether a step with this verdict makes its plan fail.
bool isBad(Verdict verdict);

struct Judgement {
    Verdict verdict = Verdict::passed;
    std::string text;  // why, when it did not pass
};

}  // namespace tool

#endif
