// SPDX-License-Identifier: Apache-2.0
// Factory-line plans: what they are made of, and the two ways to use them. The language is described in
// plans/README.md.
#ifndef FAPI_TOOL_PLAN_H
#define FAPI_TOOL_PLAN_H

#include <chrono>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "command.h"
#include "session.h"

namespace tool {

struct RunOptions {
    SessionOptions session;
    std::vector<std::string> files;
    std::string report;  // folder; empty: "reports"
    bool fresh = false;  // a new set in a temporary folder
    bool noReport = false;
    bool dryRun = false;
    bool json = false;  // a JSON object for every step on standard output
};

// `fapi run` and `fapi check`. Both return an exit code; problems go to standard error.
int runPlans(const RunOptions& options);
int checkPlans(const std::vector<std::string>& files);

// --- What a plan is made of ------------------------------------------------------------------------------------------

enum class Compare { good, failed, is, isNot, contains, startsWith, matches, within };

// "expect checksum in 100..200 margin 5"
struct Expectation {
    unsigned int line = 0;
    std::string text;    // the line again
    std::string output;  // "status" or the name of an output
    Compare compare = Compare::is;
    std::string expected;  // may hold ${NAME}
    long long low = 0, high = 0, margin = 0;
    std::regex pattern;
};

// "keep NAME OUTPUT"
struct Keep {
    unsigned int line = 0;
    std::string name;
    std::string output;
};

struct PlanLine {
    unsigned int line = 0;
    Words words;
    // Empty while words hold ${NAME}: the command is then made when the values are known.
    std::optional<Command> command;
    std::vector<Expectation> expectations;
    std::vector<Keep> keeps;

    std::string text() const;
};

struct Step {
    unsigned int line = 0;
    std::string name;
    bool teardown = false;
    bool stopOnFailure = true;
    unsigned int retry = 0;  // further attempts
    std::chrono::milliseconds every{0};
    std::vector<PlanLine> lines;
};

struct Plan {
    std::string file;
    std::string name;
    std::vector<Step> steps;
};

struct Problem {
    unsigned int line;
    std::string text;
};

// Reads a plan and checks everything that can be checked without calling anything. All problems, in the order of their
// lines; the plan is to be used only when there are none.
Plan parsePlan(std::string_view text, std::vector<Problem>& problems);

// The expectation that the words of its line make. Throws UsageError.
Expectation parseExpectation(const Words& words);

// --- Variables -------------------------------------------------------------------------------------------------------

using Variables = std::map<std::string, Value>;

// The names in the ${NAME} of a word. Throws UsageError when one is not closed.
std::vector<std::string> variablesOf(std::string_view word);

// The word with the values in place of its ${NAME}. Throws UsageError when a name has no value.
std::string substitute(const std::string& word, const Variables& variables);

// The command of a line that holds ${NAME}, as if each had a value that fits: the rest of the line is checked, and the
// outputs are known. Throws UsageError.
Command commandWithAnyValues(const Words& words);

// --- What happened ---------------------------------------------------------------------------------------------------

enum class Verdict { passed, marginal, failed, died, interrupted, notRun };
const char* verdictName(Verdict verdict);
// Whether a step with this verdict makes its plan fail.
bool isBad(Verdict verdict);

struct Judgement {
    Verdict verdict = Verdict::passed;
    std::string text;  // why, when it did not pass
};
// Throws UsageError when a value makes nonsense of what is expected.
Judgement judge(const Expectation& expectation, const Command& command, const Outcome& outcome,
                const Variables& variables);

}  // namespace tool

#endif
