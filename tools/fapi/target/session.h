// SPDX-License-Identifier: Apache-2.0
// A process's hold on a virtual set, and where its output goes.
#ifndef FAPI_BENCH_TARGET_SESSION_H
#define FAPI_BENCH_TARGET_SESSION_H

#include <cstdio>
#include <string>

#include "target/arguments.h"

namespace tool {

// Exit codes of fapi.
enum Exit {
    kExitGood = 0,        // done; a plan passed
    kExitFailed = 1,      // the operation answered a failure; a plan failed
    kExitUsage = 2,       // a wrong word or a broken plan; nothing was called
    kExitSet = 3,         // the set cannot be had or is damaged, or the PC could not store what was to be kept
    kExitInterrupted = 4  // the user stopped it, or declined the question
};

struct SessionOptions {
    std::string folder;    // of the set; empty: vset::defaultFolder()
    bool log = false;      // the library's own log is on in this process, whatever the set's switch says
    bool damaged = false;  // go on with a damaged set
};

// Data of fapi go here. The library prints its log to standard output, so fapi keeps standard output for itself and
// lets the library's descriptor 1 lead to standard error.
FILE* dataOutput();

// Does that, once, before anything is printed.
void separateOutputs();
// Takes it back, for a program that is executed in this process's place.
void joinOutputs();
// False when something could not be written to dataOutput().
bool isOutputWritten();
// True when that is so because it is a pipe that nobody reads any more, such as "| head": nothing to complain of.
bool isReaderGone();

// The folder that the options mean.
std::string setFolder(const SessionOptions& options);

// Attaches the set; this process ends, as one on a real set does, when the watchdog reboots it. Throws vset::SetError;
// damage is printed to standard error, one line each, and then thrown unless the options allow it.
void openSession(const SessionOptions& options);

// What openSession() makes of a reboot by the watchdog: says so, and ends the process.
[[noreturn]] void endWithSet();

// Calls a_vextvfapi_sys_init, and the init of the operation's module where there is one, unless this process has done
// so already or the operation, about to be called, is one of them. Null: the system module alone.
void bringUpFor(const Operation* operation);

}  // namespace tool

#endif
