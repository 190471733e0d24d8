// SPDX-License-Identifier: Apache-2.0
// Names of verdicts.
#include "judge/verdict.h"

namespace tool {

namespace {

constexpr const char* kVerdicts[] = {"passed", "marginal",    "failed",  "error",
                                     "died",   "interrupted", "not run", "skipped"};

}  // namespace

const char* verdictName(Verdict verdict) {
    return kVerdicts[static_cast<std::size_t>(verdict)];
}

const char* verdictWord(Verdict verdict) {
    switch (verdict) {
        case Verdict::passed:
            return "PASS";
        case Verdict::marginal:
            return "MARGINAL";
        case Verdict::interrupted:
            return "INTERRUPTED";
        case Verdict::error:
            return "ERROR";
        default:
            return "FAIL";
    }
}

bool isBad(Verdict verdict) {
    return verdict != Verdict::passed && verdict != Verdict::marginal && verdict != Verdict::skipped;
}

}  // namespace tool
