// SPDX-License-Identifier: Apache-2.0
// `fapi shell`: one line after the other.
#ifndef FAPI_TOOL_SHELL_H
#define FAPI_TOOL_SHELL_H

#include "set_commands.h"

namespace tool {

// `arguments` is the program's own command line: after a power cycle the shell executes itself again, because nothing
// in the memory of a set's process survives one.
int runShell(const GlobalOptions& options, bool noInit, char** arguments);

// The completions of the last word of `line`, which may be empty. For tests, too.
std::vector<std::string> completions(const std::string& line);

}  // namespace tool

#endif
