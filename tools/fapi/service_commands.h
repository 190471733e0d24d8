// SPDX-License-Identifier: Apache-2.0
// `fapi set backup|restore|repair`: a whole set, from the command line.
#ifndef FAPI_TOOL_SERVICE_COMMANDS_H
#define FAPI_TOOL_SERVICE_COMMANDS_H

#include <functional>

#include "set_commands.h"

namespace CLI {
class App;
}

namespace tool {

// Adds them to `fapi set`; a command line that names one of them sets `action`, which returns an exit code.
void addServiceCommands(CLI::App& set, const GlobalOptions& options, std::function<int()>& action);

}  // namespace tool

#endif
