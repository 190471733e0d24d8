// SPDX-License-Identifier: Apache-2.0
// What measurements may be, by name, from a file per model.
#ifndef FAPI_BENCH_JUDGE_LIMITS_H
#define FAPI_BENCH_JUDGE_LIMITS_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// From and to what a value is good; an end that is missing is open.
struct Bounds {
    std::optional<double> low, high;
};

// Bounds of one value, or of a list with as many values.
struct Limit {
    std::string unit;
    bool isList = false;
    std::vector<Bounds> bounds;
};

// "4.75..5.25", "at least 3", "at most 7"
std::string boundsText(const Bounds& bounds);

struct Limits {
    std::string file, hash;  // empty: there is none
    std::map<std::string, Limit> byName;

    // Throws UsageError for a name that the file does not have.
    const Limit& at(const std::string& name) const;
};

// Reads "NAME LOW HIGH [UNIT]", a line each. LOW or HIGH is "-" for an open end, and both are lists of the same length
// ("1,2,3 4,5,6") for an envelope. Throws UsageError, which names the line.
Limits parseLimits(std::string_view text, const std::string& file);
// Throws UsageError also when the file cannot be read.
Limits readLimits(const std::string& file);

}  // namespace tool

#endif
