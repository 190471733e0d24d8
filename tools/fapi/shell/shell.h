// SPDX-License-Identifier: Apache-2.0
// `fapi shell`: one line after the other.
#ifndef FAPI_BENCH_SHELL_SHELL_H
#define FAPI_BENCH_SHELL_SHELL_H

#include "cli/set.h"

namespace tool {

struct ShellOptions {
    bool noInit = false;        // operations find the set as it is
    bool endOnFailure = false;  // no line is run behind an operation that has failed
};

// `arguments` is the program's own command line: after a power cycle the shell executes itself again, because nothing
// in the memory of a set's process survives one.
int runShell(const GlobalOptions& options, const ShellOptions& shellOptions, char** arguments);

// A line up to the cursor.
struct LinePlace {
    Words words;          // before the one that the cursor stands in
    std::string start;    // what there is of that one; it may be empty
    std::string folder;   // of the set whose paths and partitions are offered
    std::string reports;  // the folder of the history whose runs are offered
};
// Of the set that is switched on. Throws UsageError inside a quote that is still open.
LinePlace placeOf(const std::string& line);

// What may stand at the place, however that begins.
std::vector<std::string> candidates(const LinePlace& place);
// The names of the operations: short ones, unless `start` begins a full one.
std::vector<std::string> operationNames(const std::string& start);
// The names of the set's eMMC partitions.
std::vector<std::string> partitionNames(const std::string& folder);
// Those that begin so, sorted.
std::vector<std::string> startingWith(std::vector<std::string> texts, const std::string& start);

// What the last word of `line`, which may be empty, can become.
std::vector<std::string> completions(const std::string& line);
// What to add to `line`: as far as there is only one way, with quotes where needed.
std::string completion(const std::string& line);

}  // namespace tool

#endif
