// SPDX-License-Identifier: Apache-2.0
// Figures of a line: yield, failing steps, how measurements spread and whether they drift.
#ifndef FAPI_BENCH_RECORD_LINE_STATISTICS_H
#define FAPI_BENCH_RECORD_LINE_STATISTICS_H

#include "record/run_search.h"

namespace tool {

// Fewer values say nothing about how values spread.
constexpr std::size_t kEnough = 25;

// Of units with a verdict that is theirs: passed, marginal (both good) or failed.
struct Yield {
    long long units = 0, good = 0;
};

struct Counted {
    std::string name;
    long long count = 0;
};

struct StepTime {
    std::string name;
    long long count = 0;
    double mean = 0, shortest = 0, longest = 0;
};

// Values of one name, unit and pair of limits, oldest first.
struct Series {
    std::string name, unit;
    std::optional<double> low, high;
    std::vector<double> values;
};

// What is missing is not known: too few values, or none that differ.
struct Spread {
    std::size_t count = 0, outside = 0;
    double mean = 0, least = 0, most = 0;
    std::optional<double> deviation;  // of a sample
    std::optional<double> cp, cpk;
    // Of a chart of single values: mean and 2.66 times the mean distance of two values that follow each other.
    std::optional<double> lowControl, highControl;
    std::size_t beyondControl = 0;
    std::string drift;  // what the rule has found; empty: nothing
};

constexpr char kDriftRule[] = "nine values in a row on one side of the mean, or six that rise or fall";

struct LineStatistics {
    std::vector<Counted> verdicts;
    Yield firstPass, final;
    long long withoutUnit = 0;     // judged runs that name no unit, and so are in no yield
    std::vector<Counted> failing;  // deciding steps, most frequent first
    std::vector<StepTime> steps;   // slowest first
    std::vector<Series> series;
};

// With `measurement` only the series of that name.
LineStatistics lineStatistics(Database& database, const RunFilter& filter, const std::string& measurement);

Spread spreadOf(const Series& series);

// How many values lie in each of so many equal parts from the least to the most.
struct Histogram {
    double low = 0, high = 0;
    std::vector<std::size_t> counts;
};
Histogram histogramOf(const Series& series, std::size_t parts);

}  // namespace tool

#endif
