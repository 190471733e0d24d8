// SPDX-License-Identifier: Apache-2.0
// What the process that runs a plan tells the one that watches it: one record a line, over a pipe.
#ifndef FAPI_TOOL_PLAN_RECORD_H
#define FAPI_TOOL_PLAN_RECORD_H

#include "output.h"
#include "plan.h"

namespace tool {

using Clock = std::chrono::steady_clock;

// Where a run is, and what has to outlive a power cycle in the middle of a step.
struct Position {
    std::size_t step = 0;
    std::size_t line = 0;  // the next one to run
    unsigned int attempt = 1;
    bool stopped = false;     // only teardown steps run any more
    Judgement judgement;      // of the attempt so far
    Clock::time_point start;  // of the attempt; the processes of a run share the clock
};

enum class RecordKind {
    start,    // an attempt at a step begins
    command,  // a line has run
    end,      // an attempt has ended
    reboot,   // the process ends with kExitReboot, or waits for that; `position` is where to go on
    done,     // the plan is at its end
    refused   // the set cannot be had
};

// Exit code of the process that runs a plan when its set is switched off and on, by the plan or by the watchdog.
constexpr int kExitReboot = 100;

struct Record {
    RecordKind kind = RecordKind::done;
    Position position;
    double seconds = 0;  // of an attempt
    std::string text;    // why the set was refused
    Variables kept;      // by a line
    Json command;        // of a line: command, status, outputs, expectations; null without a report
};

std::string encode(const Record& record);
// Throws nlohmann's exceptions for what encode() did not write.
Record decode(const std::string& line);

// Runs the plan from the position on, in a process of its own, and writes records to the descriptor. Does not return.
// With a report the commands' outcomes are recorded, and pictures are written as files that begin with `report`.
[[noreturn]] void runPlanProcess(const Plan& plan, const SessionOptions& session, const Position& position,
                                 const Variables& variables, const std::string& report, int descriptor) noexcept;

}  // namespace tool

#endif
