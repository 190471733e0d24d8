// SPDX-License-Identifier: Apache-2.0
// Which files may decide about units at this station.
#ifndef FAPI_BENCH_RUN_APPROVAL_H
#define FAPI_BENCH_RUN_APPROVAL_H

#include <string>

#include "plan/plan.h"
#include "station/station.h"

namespace tool {

// Says which files of a run the station does not approve in this version: the plan, its limits, the faults of
// `faultsFile`. Empty when all are approved, or when the station approves none by name.
std::string unapprovedFiles(const Station& station, const Plan& plan, const Limits& limits,
                            const std::string& faultsFile);

}  // namespace tool

#endif
