// SPDX-License-Identifier: Apache-2.0
// "measure" in plans: a value with its unit, its limits and a name of its own.
#ifndef FAPI_BENCH_JUDGE_MEASURE_H
#define FAPI_BENCH_JUDGE_MEASURE_H

#include <string>
#include <vector>

#include "judge/limits.h"
#include "judge/verdict.h"
#include "target/command.h"

namespace tool {

struct Measure {
    std::string name;
    std::string subject;  // "status" or the name of an output
    std::string unit;
    double scale = 1, offset = 0;
    double margin = 0;
    Limit own;           // without a name of limits
    std::string limits;  // the name of those in the file; empty: its own
};

// What was seen, and what was allowed.
struct Measured {
    Judgement judgement;
    std::vector<double> values;  // of a list all of them
    std::string text;            // of what is no number
    std::string unit;
    Limit allowed;
};

// Reads "measure NAME = OUTPUT [scale K [UNIT]] [offset K] LIMITS [margin M]". Throws UsageError.
Measure parseMeasure(const Words& words);

// Throws UsageError when the limits of its name are missing or do not fit: another unit, or a margin that leaves no
// room.
void checkLimits(const Measure& measure, const Limits& limits);

// `value` is null when the output is missing, because of `missing`.
Measured judge(const Measure& measure, const Value* value, const std::string& missing, const Limits& limits);

}  // namespace tool

#endif
