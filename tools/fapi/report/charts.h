// SPDX-License-Identifier: Apache-2.0
// Pictures of numbers and times.
#ifndef FAPI_BENCH_REPORT_CHARTS_H
#define FAPI_BENCH_REPORT_CHARTS_H

#include "report/html.h"
#include "target/output.h"

namespace tool {

// Where a value lies in its limits: {"value": n, "low": n, "high": n, "margin": n}.
void drawGauge(Html parent, const Json& measurement);

// Numbers that a step has kept, as PlanData has them: series of several values as curves, with axes and legend, single
// values by their names.
void drawData(Html parent, const Json& data);

// A bar as long as that part of its place.
void drawPart(Html parent, double part);

// How many values lie in each of equal parts, from the first text to the last.
void drawHistogram(Html parent, const std::vector<std::size_t>& counts, const std::string& first,
                   const std::string& last);

// Points of time in the `seconds` of an attempt, a line each: when, where on the line of time, and what.
struct Moment {
    double seconds;
    std::string name;
};
void drawMoments(Html parent, const std::vector<Moment>& moments, double seconds);

}  // namespace tool

#endif
