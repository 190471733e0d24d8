// SPDX-License-Identifier: Apache-2.0
// The steps of a plan in the order of a run, in which the turns of a loop follow each other. No turn is stored.
#ifndef FAPI_BENCH_PLAN_ORDER_H
#define FAPI_BENCH_PLAN_ORDER_H

#include <string>
#include <vector>

#include "judge/limits.h"
#include "plan/part.h"
#include "judge/variables.h"

namespace tool {

struct Plan;

// A part that holds a step.
struct Frame {
    const PlanPart* part = nullptr;
    std::size_t begin = 0, end = 0;    // its steps in the order of the run, all turns of a loop included
    std::size_t turn = 0;              // of a loop: the one that the step is in
    Section section = Section::steps;  // of a group: the one that the step is in
};

struct StepPlace {
    std::size_t step = 0;       // which of Plan::steps
    std::vector<Frame> frames;  // the outermost first

    // "[ch=21]", for what is named in loops; empty outside of them.
    std::string label() const;
    void setVariables(Variables& variables) const;
};

// Counts the steps of parts. Returns their sum, kMostPlaces + 1 for more than these.
constexpr std::size_t kMostPlaces = 10'000'000;
std::size_t countPlaces(std::vector<PlanPart>& parts);

StepPlace placeOf(const Plan& plan, std::size_t place);

// Gives the loops over limits their values. Throws UsageError, which names the loop's line, for one that has none.
void fillLoops(std::vector<PlanPart>& parts, const Limits& limits);
// Whether there are loops over limits.
bool hasLoopsOverLimits(const std::vector<PlanPart>& parts);

}  // namespace tool

#endif
