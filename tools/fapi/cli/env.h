// SPDX-License-Identifier: Apache-2.0
// `fapi env ...`: the set's boot environments, an image at a time.
#ifndef FAPI_BENCH_CLI_ENV_H
#define FAPI_BENCH_CLI_ENV_H

#include <functional>

#include "target/confirm.h"
#include "target/env_store.h"

namespace CLI {
class App;
}

namespace tool {

struct EnvOptions {
    std::string flash = kFlashTypes[0];
    Words words;
    std::string file;
    bool replace = false;    // what is there, instead of adding to it
    bool previous = false;   // the image before in place of a file
    bool valueOnly = false;  // without names
};

struct EnvBench;

struct EnvCommand {
    const char* name;
    const char* help;
    const char* argument;
    const char* argumentHelp;
    bool several;  // at least one; else at most one
    bool writes;   // no other process may have the set
    int (*run)(const EnvBench& bench);
};
const std::vector<EnvCommand>& envCommands();
// Returns an exit code.
int runEnvCommand(const EnvCommand& command, const GlobalOptions& options, const EnvOptions& wanted);

// Adds the commands of `env`; a command line that names one of them sets `action`, which returns an exit code.
void addEnvCommands(CLI::App& env, const GlobalOptions& options, std::function<int()>& action);

}  // namespace tool

#endif
