// SPDX-License-Identifier: Apache-2.0
// Lines of the shell that a command of the command line runs first: --do.
#ifndef FAPI_BENCH_TARGET_FIRST_LINES_H
#define FAPI_BENCH_TARGET_FIRST_LINES_H

#include "target/confirm.h"

namespace tool {

// Throws UsageError, also for a line that ends the process, which is the one that `does` something: "watches".
std::vector<Command> parseFirstLines(const std::vector<std::string>& lines, const char* does);

// Brings up what they need, runs them and tells on standard error what they answered. False when the user declines.
bool runFirstLines(const GlobalOptions& options, const std::vector<Command>& commands);

}  // namespace tool

#endif
