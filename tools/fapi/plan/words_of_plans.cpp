// SPDX-License-Identifier: Apache-2.0
// Words that plans do not have, and what there is in their place.
#include "plan/words_of_plans.h"

#include <algorithm>

#include "target/command.h"

namespace tool {

namespace {

struct ForeignWord {
    const char* word;
    const char* instead;
};

// Words that other tools have, or that one would expect.
constexpr ForeignWord kForeignWords[] = {
    {"assert", "expect OUTPUT is VALUE checks what a line answers"},
    {"call", "an operation stands on its line by its name alone"},
    {"check", "expect OUTPUT is VALUE checks what a line answers"},
    {"delay", "wait TIME"},
    {"echo", "the report shows what each line answers"},
    {"else", "there are no conditions; write a plan for each case"},
    {"end", "a step ends where the next one begins"},
    {"for", "step NAME retry N repeats a step until it passes, fapi run --repeat N a plan"},
    {"if", "there are no conditions; write a plan for each case"},
    {"include", "fapi run takes several plans, one after the other"},
    {"dut", "unit serial ${serial} names the unit, param NAME \"what it is\" a value that each run is told"},
    {"let", "keep NAME OUTPUT stores what a line answers"},
    {"loop", "step NAME retry N repeats a step until it passes, fapi run --repeat N a plan"},
    {"pause", "wait TIME"},
    {"print", "the report shows what each line answers"},
    {"prompt", "a plan asks nobody; expect event NUMBER within TIME waits for a key, a pad or a line of a station"},
    {"repeat", "step NAME retry N repeats a step until it passes, fapi run --repeat N a plan"},
    {"run", "an operation stands on its line by its name alone"},
    {"setup", "what comes first is a step, too"},
    {"skip-if", "there are no conditions; write a plan for each case"},
    {"sleep", "wait TIME"},
    {"timeout", "a step has no limit of time; expect event NUMBER within TIME limits what is waited for"},
    {"var", "keep NAME OUTPUT stores what a line answers"},
    {"verify", "expect OUTPUT is VALUE checks what a line answers"},
    {"while", "step NAME retry N repeats a step until it passes, fapi run --repeat N a plan"},
};

}  // namespace

std::string unknownPlanWord(const std::string& word, const std::vector<std::string>& known) {
    for (const ForeignWord& foreign : kForeignWords) {
        if (word == foreign.word) {
            return "plans know no " + word + ": " + foreign.instead;
        }
    }
    const std::string near = nearest(word, known);
    return near.empty() ? unknownOperation(word) : "no such operation: " + word + ", did you mean " + near + "?";
}

std::chrono::milliseconds parseWait(const Words& words) {
    std::chrono::milliseconds time{0};
    if (words.size() != 2 || !parseTime(words[1], time)) {
        throw UsageError("expected: wait TIME (200ms, 1.5s)",
                         words.size() == 2 ? 1 : std::min<std::size_t>(words.size(), 2));
    }
    return time;
}

}  // namespace tool
