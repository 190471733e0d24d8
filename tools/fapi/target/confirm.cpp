// SPDX-License-Identifier: Apache-2.0
// The question before what destroys.
#include "target/confirm.h"

#include <iostream>

#include <unistd.h>

#include "base/terminal.h"
#include "target/output.h"

namespace tool {

bool confirm(const GlobalOptions& options, const std::string& what) {
    if (options.yes) {
        return true;
    }
    if (isatty(STDIN_FILENO) == 0) {
        printError("this " + what + ", and standard input is no terminal to ask on; -y does not ask", options.json);
        return false;
    }
    std::fprintf(stderr, "This %s. Go on? [y/N] ", printable(what).c_str());
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

bool confirm(const GlobalOptions& options, const Command& command) {
    const Operation* operation = command.operation();
    if (operation == nullptr) {
        return true;
    }
    if (operation->destroys.empty() && operation->danger >= Danger::destroys) {
        // A newer agent may have a danger that this build does not know.
        return confirm(options, "may destroy what the set stores");
    }
    return operation->destroys.empty() || confirm(options, operation->destroys);
}

}  // namespace tool
