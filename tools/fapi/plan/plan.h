// SPDX-License-Identifier: Apache-2.0
// Factory-line plans. The language is described in plans/README.md.
#ifndef FAPI_BENCH_PLAN_PLAN_H
#define FAPI_BENCH_PLAN_PLAN_H

#include <string>
#include <string_view>
#include <vector>

#include "plan/fault_file.h"
#include "plan/step.h"

namespace tool {

struct Plan {
    std::string file;
    std::string name;
    std::vector<Step> steps;
    std::vector<PlanFault> faults;  // that a run of it is to meet
    bool judgesRefusals = true;     // a call that the chip refuses fails its line unless the plan says otherwise
    bool bringsUpTeardown = false;  // the first step brings the set up for a teardown in another worker, too
    std::vector<Problem> warnings;  // of what works, but hardly as it is meant
    // By these a changed file is known; that of the faults is empty without a file of them.
    std::string hash, faultsHash;
};

// Reads a plan and checks everything that can be checked without calling anything. All problems, in the order of their
// lines; the plan is to be used only when there are none.
Plan parsePlan(std::string_view text, std::vector<Problem>& problems);

}  // namespace tool

#endif
