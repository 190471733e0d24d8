// SPDX-License-Identifier: Apache-2.0
// "data" in plans: numbers that a step keeps for its report.
#ifndef FAPI_BENCH_PLAN_DATA_H
#define FAPI_BENCH_PLAN_DATA_H

#include <string>
#include <vector>

#include "base/words.h"
#include "protocol/field.h"

namespace tool {

// Numbers under a name.
struct DataSeries {
    std::string name;
    std::vector<long long> values;
};

// "data NAME gamma WINDOW", "data NAME calibration TYPE INDEX": numbers of the set, as the description names them; or
// "data NAME values WORD=NUMBER...".
struct PlanData {
    // What holds variables is taken for something that fits. Throws UsageError.
    static PlanData parse(const Words& words);

    std::string name;
    std::string kind;                // "curves" or "values"
    std::vector<DataSeries> series;  // the plan's own; without any they are asked for:
    Field request;                   // the parameters of method "data"
};

// The series that the set has answered. Throws MessageError.
std::vector<DataSeries> parseSeries(const Field& answer);

}  // namespace tool

#endif
