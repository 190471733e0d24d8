// SPDX-License-Identifier: Apache-2.0
// `fapi shell`: one line after the other.
#ifndef FAPI_TOOL_SHELL_H
#define FAPI_TOOL_SHELL_H

#include "set_commands.h"

namespace tool {

// `arguments` is the program's own command line: after a power cycle the shell executes itself again, because nothing
// in the memory of a set's process survives one.
int runShell(const GlobalOptions& options, bool noInit, char** arguments);

// What the last word of `line`, which may be empty, can become.
std::vector<std::string> completions(const std::string& line);
// What to add to `line`: as far as there is only one way, with quotes where needed.
std::string completion(const std::string& line);

}  // namespace tool

#endif
