// SPDX-License-Identifier: Apache-2.0
// A program of a plan, from its start to the end of all that it has started.
#ifndef FAPI_BENCH_PROGRAM_PROGRAM_RUN_H
#define FAPI_BENCH_PROGRAM_PROGRAM_RUN_H

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "base/words.h"
#include "program/values.h"
#include "target/waiting.h"

namespace tool {

struct ProgramCall {
    Words command;     // the program as it is called, and its arguments
    std::string file;  // that is run
    std::chrono::milliseconds within{30000};
    std::vector<std::pair<std::string, std::string>> environment;  // besides the bench's own
};

// The exit codes that a program ends with on purpose; all others are errors of the station.
constexpr int kProgramPassed = 0;
constexpr int kProgramFailed = 1;
constexpr int kProgramSkipped = 77;

// What is kept of an output: its beginning and its end.
class BoundedText {
public:
    void add(std::string_view piece);
    std::string text() const;

private:
    std::string _head, _tail;
    std::size_t _bytes = 0;
};

struct ProgramResult {
    int exitCode = -1;    // -1: it did not end by itself
    std::string problem;  // how it ended then
    ProgramValues values;
    std::string output;  // both of its output streams
    std::string lastLine() const;
};

// Throws RequestError `stationFailed` when it cannot be started, and what `wait` throws, when the program is gone.
ProgramResult runPlanProgram(const ProgramCall& call, const Waiting& wait);

}  // namespace tool

#endif
