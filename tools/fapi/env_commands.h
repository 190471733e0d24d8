// SPDX-License-Identifier: Apache-2.0
// `fapi env ...`: the set's boot environments, an image at a time.
#ifndef FAPI_TOOL_ENV_COMMANDS_H
#define FAPI_TOOL_ENV_COMMANDS_H

#include <functional>

#include "set_commands.h"

namespace CLI {
class App;
}

namespace tool {

// Adds `env` and its commands; a command line that names one of them sets `action`, which returns an exit code.
void addEnvCommands(CLI::App& app, const GlobalOptions& options, std::function<int()>& action);

// The names of a set's variables, for completion.
std::vector<std::string> variableNames(const std::string& folder, const std::string& flash);

}  // namespace tool

#endif
