// SPDX-License-Identifier: Apache-2.0
// Factory-line plans: what they are made of, and the two ways to use them. The language is described in
// plans/README.md.
#ifndef FAPI_BENCH_PLAN_PLAN_H
#define FAPI_BENCH_PLAN_PLAN_H

#include <chrono>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <variant>
#include <vector>

#include "plan/fault_file.h"
#include "target/command.h"
#include "target/session.h"

namespace tool {

struct RunOptions {
    SessionOptions session;
    std::vector<std::string> files;
    std::string report;  // folder; empty: "reports"
    bool fresh = false;  // a new set in a temporary folder
    bool noReport = false;
    bool dryRun = false;
    bool json = false;  // a JSON object for every step on standard output
    bool resume = false;
    std::string faults;  // file of faults; empty: none
    std::string repeat;  // how often, or "forever"; empty: once
    bool untilFailure = false;
    std::size_t keep = 100;  // runs in the history
};

// `fapi run` and `fapi check`. Both return an exit code; problems go to standard error, and for programs as objects to
// standard output, too.
int runPlans(const RunOptions& options);
int checkPlans(const std::vector<std::string>& files, const std::string& faults, bool json);

// --- What a plan is made of ------------------------------------------------------------------------------------------

enum class Compare { good, failed, is, isNot, contains, startsWith, matches, within };

// What a value has to be: "checksum in 100..200 margin 5".
struct Condition {
    std::string subject;  // "status", the name of an output or a field of an event
    Compare compare = Compare::is;
    std::string expected;  // may hold ${NAME}
    long long low = 0, high = 0, margin = 0;
    std::regex pattern;
};

// Which event has to come, or must not: "event 0x100001 of prphrl with text is AB within 2s".
struct EventCondition {
    bool comes = true;
    unsigned int number = 0;
    std::string module;             // empty: any
    std::vector<Condition> fields;  // of its first payload object
    std::chrono::milliseconds within{0};
};

// Which calls of the middleware have to be made, in this order: "calls HW_DISP_SetMute, HW_DISP_ApplySetting".
struct CallsCondition {
    bool exactly = false;            // no others
    std::vector<std::string> calls;  // as vset::CallPattern reads them; may hold ${NAME}
};

// A line that begins with "expect".
struct Expectation {
    unsigned int line = 0;
    std::string text;  // the line again
    std::variant<Condition, EventCondition, CallsCondition> what;

    bool isAboutStatus() const;
    // Whether it is about what the chip was asked and has refused, which every line can be expected to have done.
    bool isAboutChip() const;
};

// "keep NAME OUTPUT"
struct Keep {
    unsigned int line = 0;
    std::string name;
    std::string output;  // kEventPrefix and a field: of the event that was taken last
};

// What of an event can be expected and kept.
constexpr const char* kEventFields[] = {"value", "text", "bytes"};
constexpr std::string_view kEventPrefix = "event.";
// What can be expected of each line: how many calls the chip has refused.
constexpr std::string_view kRefusals = "refusals";

enum class LineKind {
    command,
    picture,  // parsePicture() reads it
    data,     // PlanData reads it
    wait      // parseWait() reads it
};

struct PlanLine {
    unsigned int line = 0;
    Words words;
    // Empty while words hold ${NAME}: the command is then made when the values are known.
    std::optional<Command> command;
    LineKind kind = LineKind::command;
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
    std::vector<PlanFault> faults;  // that a run of it is to meet
    std::vector<Problem> warnings;  // of what works, but hardly as it is meant
    // By these a changed file is known; that of the faults is empty without a file of them.
    std::string hash, faultsHash;
};

// Reads a plan and checks everything that can be checked without calling anything. All problems, in the order of their
// lines; the plan is to be used only when there are none.
Plan parsePlan(std::string_view text, std::vector<Problem>& problems);

// The expectation that the words of its line make. Throws UsageError.
Expectation parseExpectation(const Words& words);

// Reads "[is|contains|...] VALUE" from words[i] on into a condition that has its subject. Returns the place behind it.
// Throws UsageError.
std::size_t readCondition(const Words& words, std::size_t i, Condition& condition);

// Whether it is a word such as "is" or "contains".
bool isCompareWord(const std::string& word);

// A number, or a text that is one: what a range is about. False for anything else.
bool asNumber(const Value& value, long long& number);

// Whether the word can be a part of a file's name wherever that goes.
bool isFileName(const std::string& word);

// "picture NAME [WHAT]"
struct PictureLine {
    std::string name;
    std::string what;  // as the description's pictures are named
};
// Throws UsageError. What holds variables is taken for the panel.
PictureLine parsePicture(const Words& words);

// "wait TIME". Throws UsageError.
std::chrono::milliseconds parseWait(const Words& words);

// The message for a word that no line, or no option of a step, begins with: what there is in its place.
std::string unknownPlanWord(const std::string& word);

// The words of a line behind "expect". Throws UsageError.
EventCondition parseEventCondition(const Words& words);
CallsCondition parseCallsCondition(const Words& words);
// Whether they are about calls, and not about an output of that name.
bool beginsCallsCondition(const Words& words);

// --- Variables -------------------------------------------------------------------------------------------------------

using Variables = std::map<std::string, Value>;

// Has a value from the beginning: the folder of the plan.
constexpr const char* kPlanFolder = "PLAN_DIR";

// The names in the ${NAME} of a word. Throws UsageError when one is not closed.
std::vector<std::string> variablesOf(std::string_view word);

// The word with the values in place of its ${NAME}. Throws UsageError when a name has no value.
std::string substitute(const std::string& word, const Variables& variables);

// The words with one that its argument accepts in place of each that holds ${NAME}, from words[first] on.
Words withAnyValues(Words words, std::size_t first, const std::vector<Argument>& arguments);

// The command of a line that holds ${NAME}, as if each had a value that fits: the rest of the line is checked, and the
// outputs are known. Throws UsageError.
Command commandWithAnyValues(const Words& words);

// --- What happened ---------------------------------------------------------------------------------------------------

// In the order of their weight. `error` is one of the station: what the set would have done is not known.
enum class Verdict { passed, marginal, failed, error, died, interrupted, notRun };
const char* verdictName(Verdict verdict);
// What a plan's verdict is called where it is to be read from afar: "PASS".
const char* verdictWord(Verdict verdict);
// Whether a step with this verdict makes its plan fail.
bool isBad(Verdict verdict);

struct Judgement {
    Verdict verdict = Verdict::passed;
    std::string text;  // why, when it did not pass
};
// The text is why not. Throws UsageError when a value makes nonsense of what is expected, as the other one.
Judgement judge(const Condition& condition, const Value& value, const Variables& variables);
Judgement judge(const Condition& condition, const Command& command, const Outcome& outcome, const Variables& variables);

}  // namespace tool

#endif
