// SPDX-License-Identifier: Apache-2.0
// One step on the page.
#ifndef FAPI_BENCH_REPORT_STEP_H
#define FAPI_BENCH_REPORT_STEP_H

#include "report/html.h"
#include "report/report.h"

namespace tool {

// What links to the step lead to.
std::string stepAnchor(std::size_t index);

// The class that colors a verdict by its name: "v-passed", "v-not-run".
std::string verdictClass(const std::string& verdict);

// Why the step has its verdict: what the last attempt says, or else what made another attempt necessary.
std::string whyText(const StepResult& result);

// A section with everything that is known of the step. Its pictures are files in `folder`.
void writeStep(Html parent, const PlanResult& run, std::size_t index, const std::string& folder);

}  // namespace tool

#endif
