// SPDX-License-Identifier: Apache-2.0
// The options that all commands have, and the question before what destroys.
#ifndef FAPI_BENCH_TARGET_CONFIRM_H
#define FAPI_BENCH_TARGET_CONFIRM_H

#include "target/command.h"
#include "target/session.h"

namespace tool {

struct GlobalOptions {
    SessionOptions session;
    bool json = false;
    bool yes = false;
};

// True when the user says yes, or -y has said so already; a message when there is no terminal to ask on. `what` ends
// the sentence "this ...".
bool confirm(const GlobalOptions& options, const std::string& what);
// The same for a command, when it destroys anything.
bool confirm(const GlobalOptions& options, const Command& command);

}  // namespace tool

#endif
