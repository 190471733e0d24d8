// SPDX-License-Identifier: Apache-2.0
// Plans and faults, as they are read from files.
#ifndef FAPI_BENCH_RUN_PLAN_FILES_H
#define FAPI_BENCH_RUN_PLAN_FILES_H

#include <string>
#include <vector>

#include "plan/plan.h"

namespace tool {

// Reads all plans, and gives each the faults that it can meet. False when something has a problem: all problems go to
// standard error, and with `json` as objects to standard output, too.
bool readPlansAndFaults(bool json, const std::vector<std::string>& files, const std::string& faults,
                        std::vector<Plan>& plans);

}  // namespace tool

#endif
