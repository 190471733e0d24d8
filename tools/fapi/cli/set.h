// SPDX-License-Identifier: Apache-2.0
// `fapi set ...`: the set itself, from the command line.
#ifndef FAPI_BENCH_CLI_SET_H
#define FAPI_BENCH_CLI_SET_H

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

int createSet(const GlobalOptions& options);
int resetSet(const GlobalOptions& options);
int printSetPath(const GlobalOptions& options);
int powerCycleSet(const GlobalOptions& options);
int showSet(const GlobalOptions& options);
// Where terminal programs can be connected, whichever process has the set.
int showPorts(const GlobalOptions& options);

// One of the hands that need no running session. `words` is "put /mnt/usb/x text:y"; what it answers is written to the
// file `output`, too, unless that is empty.
int runAction(const GlobalOptions& options, const Words& words, const std::string& output);

}  // namespace tool

#endif
