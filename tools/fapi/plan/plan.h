// SPDX-License-Identifier: Apache-2.0
// Factory-line plans. The language is described in plans/README.md.
#ifndef FAPI_BENCH_PLAN_PLAN_H
#define FAPI_BENCH_PLAN_PLAN_H

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "plan/fault_file.h"
#include "judge/limits.h"
#include "plan/order.h"
#include "judge/parameter.h"
#include "plan/step.h"

namespace tool {

// A file that a plan consists of besides its own.
struct PlanInclude {
    std::string file, hash;
};

struct Plan {
    std::string file;
    std::string name;
    std::vector<Step> steps;              // as they are written: one in a loop stands here once
    std::vector<PlanPart> parts;          // empty: the steps follow each other
    std::chrono::milliseconds within{0};  // for the whole plan but its teardown; 0: it has no limit
    std::vector<PlanInclude> includes;
    std::vector<PlanParameter> parameters;
    std::string unit;        // the serial number, which may hold ${NAME} of parameters; empty: it is about no unit
    std::string limitsFile;  // may hold ${NAME} of parameters; empty: there is none
    Limits limits;           // of that file, as far as its name is known without a run
    std::vector<PlanFault> faults;  // that a run of it is to meet
    bool judgesRefusals = true;     // a call that the chip refuses fails its line unless the plan says otherwise
    bool bringsUpTeardown = false;  // the first step brings the set up for a teardown in another worker, too
    std::vector<Problem> warnings;  // of what works, but hardly as it is meant
    // By these a changed file is known; that of the faults is empty without a file of them.
    std::string hash, faultsHash;

    // How many steps a run has, each turn of a loop counted.
    std::size_t size() const { return parts.empty() ? steps.size() : parts.back().begin + parts.back().size(); }
    const Step& stepAt(std::size_t place) const;
    // "tuner[ch=21].lock"
    std::string nameAt(std::size_t place) const;
    // Whether a step of the plan has that name, as it is written or as a run has it.
    bool hasStep(const std::string& wanted) const;
};

// Reads a plan and checks everything that can be checked without calling anything. All problems, in the order of their
// lines; the plan is to be used only when there are none. Files that it names are next to `file`.
Plan parsePlan(std::string_view text, std::vector<Problem>& problems, const std::string& file = "");

// Where the plan's file is.
std::string folderOf(const Plan& plan);
// What ${NAME} of parameters and ${PLAN_DIR} stand for when a run begins.
Variables variablesFor(const Plan& plan, const ParameterValues& values);
// The limits of a run with these values. Throws UsageError, also where a measurement of the plan has none.
Limits limitsFor(const Plan& plan, const ParameterValues& values);
// Counts the turns of loops over limits. Throws UsageError for a loop that has none.
void fillLoops(Plan& plan, const Limits& limits);
// The unit's serial number; empty without one. Throws UsageError for what is none.
std::string unitFor(const Plan& plan, const ParameterValues& values);

}  // namespace tool

#endif
