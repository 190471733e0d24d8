// SPDX-License-Identifier: Apache-2.0
// Steps of a plan, and their lines.
#ifndef FAPI_BENCH_PLAN_STEP_H
#define FAPI_BENCH_PLAN_STEP_H

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "judge/expectation.h"
#include "plan/only_if.h"
#include "target/command.h"

namespace tool {

// "keep NAME OUTPUT"
struct Keep {
    unsigned int line = 0;
    std::string name;
    std::string output;  // kEventPrefix and a field: of the event that was taken last
};

enum class LineKind {
    command,
    picture,     // parsePicture() reads it
    data,        // PlanData reads it
    wait,        // parseWait() reads it
    prompt,      // parsePrompt() reads it
    program,     // parseProgramLine() reads it
    instruments  // "use NAME..."
};

struct PlanLine {
    unsigned int line = 0;
    Words words;
    // Empty while words hold ${NAME}: the command is then made when the values are known.
    std::optional<Command> command;
    LineKind kind = LineKind::command;
    std::vector<Expectation> expectations;
    std::vector<Keep> keeps;
    std::string skipped;                  // why this set is not to meet the line; empty: it is
    std::vector<OnlyIf> conditions;       // on which a run meets the line
    std::chrono::milliseconds within{0};  // in which the set has to answer; 0: the step's limit is the only one

    std::string text() const;
};

// What a step may take unless the plan says otherwise.
constexpr std::chrono::milliseconds kStepLimit{180'000};

struct Step {
    unsigned int line = 0;
    std::string file;  // empty: the plan's own
    std::string name;
    bool teardown = false;
    bool stopOnFailure = true;
    std::string skipped;     // why this set is not to meet it; empty: it is
    unsigned int retry = 0;  // further attempts
    std::chrono::milliseconds every{0};
    std::chrono::milliseconds within = kStepLimit;  // with all attempts
    std::vector<OnlyIf> conditions;                 // on which a run meets it
    std::vector<PlanLine> lines;
};

}  // namespace tool

#endif
