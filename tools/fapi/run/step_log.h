// SPDX-License-Identifier: Apache-2.0
// The library's log while a plan runs: its end is kept for the report, whatever becomes of the process that prints it.
#ifndef FAPI_BENCH_RUN_STEP_LOG_H
#define FAPI_BENCH_RUN_STEP_LOG_H

#include <cstddef>
#include <string>

#include "target/command.h"

namespace tool {

// What an attempt at a step has logged: its last lines. Lives in memory that the processes of a run share, so that the
// one that watches reads what another one printed before it died.
class StepLog {
public:
    // Throws std::runtime_error.
    StepLog();
    ~StepLog();
    StepLog(const StepLog&) = delete;
    StepLog& operator=(const StepLog&) = delete;

    // From now on standard output of this process, which must not return to its caller, goes here. What the plan itself
    // has switched on goes to standard error, too, as it does without a report.
    void takeStandardOutput();

    // Runs the command with the log on. Not to be seen by the plan: the set's switch stays as it is.
    Outcome run(const Command& command) const;

    void clear();
    // At most the last 400 lines; without the sequences that color a terminal.
    std::string text() const;

private:
    struct Shared;
    Shared* _shared;
};

}  // namespace tool

#endif
