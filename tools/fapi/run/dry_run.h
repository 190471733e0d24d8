// SPDX-License-Identifier: Apache-2.0
// What a plan would do.
#ifndef FAPI_BENCH_RUN_DRY_RUN_H
#define FAPI_BENCH_RUN_DRY_RUN_H

#include "plan/plan.h"

namespace tool {

// Prints parameters, faults and steps, as an object with `json`.
void printDryRun(const Plan& plan, bool json);

}  // namespace tool

#endif
