// SPDX-License-Identifier: Apache-2.0
// `fapi set ...`: the set itself, from the command line.
#ifndef FAPI_BENCH_CLI_SET_H
#define FAPI_BENCH_CLI_SET_H

#include "target/confirm.h"

namespace tool {

int createSet(const GlobalOptions& options);
int resetSet(const GlobalOptions& options);
int printSetPath(const GlobalOptions& options);
int powerCycleSet(const GlobalOptions& options);
int showSet(const GlobalOptions& options);
// Where terminal programs can be connected, whichever process has the set.
int showPorts(const GlobalOptions& options);

// One of the actions that need no running session. `words` is "put /mnt/usb/x text:y"; what it answers is written to
// the file `output`, too, unless that is empty.
int runAction(const GlobalOptions& options, const Words& words, const std::string& output);

}  // namespace tool

#endif
