// SPDX-License-Identifier: Apache-2.0
// Values of parameters, from the command line and from tables.
#ifndef FAPI_BENCH_RUN_PARAMETER_ROWS_H
#define FAPI_BENCH_RUN_PARAMETER_ROWS_H

#include <string>
#include <vector>

#include "plan/plan.h"

namespace tool {

// Reads the words of --param, "NAME=VALUE". Throws UsageError, also for a name that no plan has.
ParameterValues parseParameterWords(const std::vector<Plan>& plans, const std::vector<std::string>& words);

// Reads a table of comma-separated values, whose first row names parameters: a run for each other row. All rows are
// checked with `given`, which are the values of all runs. Throws UsageError, which names file and row.
std::vector<ParameterValues> readParameterRows(const std::vector<Plan>& plans, const std::string& file,
                                               const ParameterValues& given);

}  // namespace tool

#endif
