// SPDX-License-Identifier: Apache-2.0
// "run PROGRAM ARGUMENT..." in plans.
#ifndef FAPI_BENCH_PLAN_PROGRAM_STEP_H
#define FAPI_BENCH_PLAN_PROGRAM_STEP_H

#include <chrono>
#include <optional>
#include <string>

#include "base/words.h"

namespace tool {

struct ProgramLine {
    Words command;
    std::optional<std::chrono::milliseconds> within;
};

// Reads the words of such a line. Throws UsageError.
ProgramLine parseProgramLine(const Words& words);

// The program's file: of a word with a slash the file below the plan's folder, of any other one in $PATH. Empty when
// there is none that this user may run.
std::string programFile(const std::string& program, const std::string& planFolder);
// Throws UsageError without such a file.
void requireProgram(const std::string& program, const std::string& planFolder);

}  // namespace tool

#endif
