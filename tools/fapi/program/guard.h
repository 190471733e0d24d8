// SPDX-License-Identifier: Apache-2.0
// The process between the bench and a program of a plan: whatever the program starts is gone when the guard is.
#ifndef FAPI_BENCH_PROGRAM_GUARD_H
#define FAPI_BENCH_PROGRAM_GUARD_H

#include <chrono>
#include <string>
#include <vector>

namespace tool {

// The word after "fapi" that starts it.
constexpr const char* kGuardWord = "guard";
// Its open descriptors besides the standard ones, which are the program's, as kProgramValues is.
constexpr int kProgramValues = 3;
constexpr int kGuardLife = 4;    // readable when the bench is gone, or wants the program to end
constexpr int kGuardResult = 5;  // takes how the program has ended: "exit 0", "signal 9", "limit", "start No such file"

// How long a program has after SIGTERM.
constexpr std::chrono::seconds kProgramGrace{2};

// `words` are those after "fapi guard": the limit in milliseconds, the program's file, its words. Runs it in a process
// group of its own, ends it at its limit, and then ends all that it has started, daemons included. Returns an exit
// code.
int runGuard(const std::vector<std::string>& words);

}  // namespace tool

#endif
