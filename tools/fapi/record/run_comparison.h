// SPDX-License-Identifier: Apache-2.0
// What differs between two runs.
#ifndef FAPI_BENCH_RECORD_RUN_COMPARISON_H
#define FAPI_BENCH_RECORD_RUN_COMPARISON_H

#include "record/run_record.h"
#include "target/output.h"

namespace tool {

struct Change {
    std::string step;
    std::string what;  // "verdict", "seconds", the name of a measurement, "new", "missing"
    Json before, after;
};

// The measurements of a step's last attempt.
std::vector<MeasurementRecord> finalOf(const WholeRun& run, long long step);
// Verdicts, notable times and measurements that are others, steps that are new or missing.
std::vector<Change> changesBetween(const WholeRun& before, const WholeRun& after);

}  // namespace tool

#endif
