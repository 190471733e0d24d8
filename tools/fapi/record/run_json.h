// SPDX-License-Identifier: Apache-2.0
// Runs of a results store as JSON.
#ifndef FAPI_BENCH_RECORD_RUN_JSON_H
#define FAPI_BENCH_RECORD_RUN_JSON_H

#include "record/run_record.h"
#include "target/output.h"

namespace tool {

// The run's own row; "when" is its local time.
Json runJson(const RunRecord& run);
// With its steps, and in each of them its attempts and measurements.
Json runJson(const WholeRun& run);

}  // namespace tool

#endif
