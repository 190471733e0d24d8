// SPDX-License-Identifier: Apache-2.0
// Faults that a run is to meet, as `fapi run --faults` reads them from a file. The language is described in
// docs/bench.md.
#ifndef FAPI_BENCH_PLAN_FAULT_FILE_H
#define FAPI_BENCH_PLAN_FAULT_FILE_H

#include <string>
#include <string_view>
#include <vector>

#include "base/words.h"

namespace tool {

struct PlanFault {
    std::string call;        // the function that fails
    long long result = 0;    // what it answers
    unsigned int from = 1;   // the first call that fails
    unsigned int times = 1;  // how many calls fail; 0: all from then on
    std::string step;        // the name of the one that the fault is bound to; empty: the whole run
    unsigned int line = 0;
    std::size_t stepColumn = 0;

    // The line again.
    std::string text() const;
};

// All problems, in the order of their lines; the faults are to be used only when there are none.
std::vector<PlanFault> parseFaults(std::string_view text, std::vector<Problem>& problems);

}  // namespace tool

#endif
