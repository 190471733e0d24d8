// SPDX-License-Identifier: Apache-2.0
// What can stand next on the command line of fapi, for the completion of bash and zsh.
#ifndef FAPI_BENCH_CLI_WORD_COMPLETION_H
#define FAPI_BENCH_CLI_WORD_COMPLETION_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tool {

// What commandCompletions() answers alone where any file or folder of this PC can stand: the shell knows those.
constexpr const char* kAnyFile = ":files";
constexpr const char* kAnyFolder = ":folders";

// What the last word of the command line, from "fapi" up to the cursor, can become.
std::vector<std::string> commandCompletions(const CLI::App& app, const std::string& line);

// What bash or zsh reads, to complete by "fapi complete". Throws UsageError for another shell.
std::string completionScript(const std::string& shell);

}  // namespace tool

#endif
