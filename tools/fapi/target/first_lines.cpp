// SPDX-License-Identifier: Apache-2.0
// Lines of the shell that a command of the command line runs first.
#include "target/first_lines.h"

#include "target/output.h"
#include "target/surprises.h"

namespace tool {

std::vector<Command> parseFirstLines(const std::vector<std::string>& lines, const char* does) {
    std::vector<Command> commands;
    for (const std::string& line : lines) {
        commands.push_back(Command::parse(splitWords(line)));
        if (commands.back().endsProcess()) {
            throw UsageError("--do: " + commands.back().text() + " ends the process that " + does);
        }
    }
    return commands;
}

bool runFirstLines(const GlobalOptions& options, const std::vector<Command>& commands) {
    Surprises surprises;
    for (const Command& command : commands) {
        if (!confirm(options, command)) {
            return false;
        }
        printWarning(surprises.next(command));
        std::fprintf(stderr, "%s\n", displayOutcome(command, runPrepared(command)).c_str());
    }
    return true;
}

}  // namespace tool
