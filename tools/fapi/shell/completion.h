// SPDX-License-Identifier: Apache-2.0
// What can stand next on a line of the shell.
#ifndef FAPI_BENCH_SHELL_COMPLETION_H
#define FAPI_BENCH_SHELL_COMPLETION_H

#include <string>
#include <vector>

#include "base/words.h"

namespace tool {

// A line up to the cursor.
struct LinePlace {
    Words words;        // before the one that the cursor stands in
    std::string start;  // what there is of that one; it may be empty
};
// Throws UsageError inside a quote that is still open.
LinePlace placeOf(const std::string& line);

// What may stand at the place, however that begins. Paths and partitions are those of the chosen set, which is not
// switched on for it.
std::vector<std::string> candidates(const LinePlace& place);
// The names of the operations: short ones, unless `start` begins a full one.
std::vector<std::string> operationNames(const std::string& start);
// The names of the set's eMMC partitions.
std::vector<std::string> partitionNames();
// Those that begin so, sorted.
std::vector<std::string> startingWith(std::vector<std::string> texts, const std::string& start);

// What the last word of `line`, which may be empty, can become.
std::vector<std::string> completions(const std::string& line);
// What to add to `line`: as far as there is only one way, with quotes where needed.
std::string completion(const std::string& line);

}  // namespace tool

#endif
