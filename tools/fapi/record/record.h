// SPDX-License-Identifier: Apache-2.0
// What the process that runs a plan tells the one that watches it: one record a line, over a pipe.
#ifndef FAPI_BENCH_RECORD_RECORD_H
#define FAPI_BENCH_RECORD_RECORD_H

#include "plan/plan.h"
#include "run/step_log.h"
#include "target/output.h"

namespace tool {

using Clock = std::chrono::steady_clock;

// Where a run is, and what has to outlive a power cycle in the middle of a step.
struct Position {
    std::size_t step = 0;
    std::size_t line = 0;  // the next one to run
    unsigned int attempt = 1;
    bool stopped = false;                  // only teardown steps run any more
    Judgement judgement;                   // of the attempt so far
    Clock::time_point start;               // of the attempt; the processes of a run share the clock
    std::vector<unsigned int> faultCalls;  // what ArmedFaults has counted
    bool resumed = false;  // what the steps before have brought up died with a process; told, and in no record
};

// What a run keeps of a text or of bytes, in its reports and its history.
constexpr std::size_t kKeptBytes = 65536;
// What a message has of the line that it is about.
constexpr std::size_t kToldBytes = 1000;

enum class RecordKind {
    start,    // an attempt at a step begins
    command,  // a line has run
    end,      // an attempt has ended
    reboot,   // the process ends with kExitReboot, or waits for that; `position` is where to go on
    done,     // the plan is at its end
    refused   // the set cannot be had; `position.judgement` says why, and whose fault that is
};

// Exit code of the process that runs a plan when its set is switched off and on, by the plan or by the watchdog.
constexpr int kExitReboot = 100;

struct Record {
    RecordKind kind = RecordKind::done;
    Position position;
    double seconds = 0;  // of an attempt
    std::string text;    // what a bad attempt has logged; how often the set was switched on
    Variables kept;      // by a line
    Json command;        // of a line: command, status, outputs, expectations; null without a report
};

// A value must come back byte by byte, and a text of a set need not be UTF-8.
Json encodeValue(const Value& value);
// Throws nlohmann's exceptions and UsageError for what encodeValue() did not make.
Value decodeValue(const Json& json);

std::string encode(const Record& record);
// Throws nlohmann's exceptions for what encode() did not write.
Record decode(const std::string& line);

// Runs the plan from the position on, in a process of its own, and writes records to the descriptor. Does not return.
// With a report the commands' outcomes are recorded, pictures are written as files that begin with `report`, and the
// library's log goes to `log`, which is null without one.
// NOLINTNEXTLINE(bugprone-exception-escape)
[[noreturn]] void runPlanProcess(const Plan& plan, const SessionOptions& session, const Position& position,
                                 const Variables& variables, const std::string& report, StepLog* log,
                                 int descriptor) noexcept;

}  // namespace tool

#endif
