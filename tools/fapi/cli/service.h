// SPDX-License-Identifier: Apache-2.0
// `fapi set backup|restore|repair`: a whole set, from the command line.
#ifndef FAPI_BENCH_CLI_SERVICE_H
#define FAPI_BENCH_CLI_SERVICE_H

#include <functional>
#include <string>

#include "target/confirm.h"

namespace CLI {
class App;
}

namespace tool {

// Each asks before it replaces anything, and returns an exit code. Ctrl-C leaves nothing behind. `where` may be a
// folder.
int backUpWholeSet(const GlobalOptions& options, const std::string& where);
int restoreWholeSet(const GlobalOptions& options, const std::string& file);
int repairWholeSet(const GlobalOptions& options);

// Adds them to `fapi set`; a command line that names one of them sets `action`, which returns an exit code.
void addServiceCommands(CLI::App& set, const GlobalOptions& options, std::function<int()>& action);

}  // namespace tool

#endif
