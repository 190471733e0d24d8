// SPDX-License-Identifier: Apache-2.0
// Steps that have to fail on a unit that is known to be bad, as `fapi run --expected` reads them from a file.
#ifndef FAPI_BENCH_PLAN_EXPECTED_H
#define FAPI_BENCH_PLAN_EXPECTED_H

#include <string>
#include <string_view>
#include <vector>

#include "base/words.h"
#include "judge/verdict.h"

namespace tool {

struct ExpectedFailure {
    unsigned int line = 0;
    std::string step;  // as it is written, or as a run has it
    Verdict verdict = Verdict::failed;
    std::string reason;
};

// Reads sections "[step NAME]" with the entries "verdict" and "reason". All problems, in the order of their lines.
std::vector<ExpectedFailure> parseExpected(std::string_view text, std::vector<Problem>& problems);

}  // namespace tool

#endif
