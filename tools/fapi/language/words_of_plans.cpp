// SPDX-License-Identifier: Apache-2.0
// Words that plans do not have, and what there is in their place.
#include "language/words_of_plans.h"

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
    {"else", "only-if NAME is-not VALUE, before a line or behind a step's name"},
    {"for", "repeat for NAME in VALUE... repeats steps up to its end"},
    {"if", "only-if NAME is VALUE, before a line or behind a step's name"},
    {"dut", "unit serial ${serial} names the unit, param NAME \"what it is\" a value that each run is told"},
    {"let", "keep NAME OUTPUT stores what a line answers"},
    {"loop", "repeat for NAME in VALUE... repeats steps up to its end"},
    {"pause", "wait TIME"},
    {"print", "the report shows what each line answers"},
    {"exec", "run PROGRAM ARGUMENT... runs a program of this PC"},
    {"prompt", "ask \"TEXT\" asks the operator yes or no; choose, scan and show are others"},
    {"skip-if", "only-if NAME is VALUE, before a line or behind a step's name"},
    {"parallel", "alongside holds groups that run side by side, up to its end"},
    {"sleep", "wait TIME"},
    {"timeout", "within TIME limits a plan, a step, a call or what is waited for"},
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

std::chrono::milliseconds parseTimeAt(const Words& words, std::size_t i) {
    std::chrono::milliseconds time{0};
    const std::string word = i < words.size() ? words[i] : "";
    if (!parseTime(word, time) || (time.count() == 0 && words[i - 1] == "within")) {
        throw UsageError(words[i - 1] + " is " + display(word, 40) + ", expected a time like 200ms, 1.5s or 10min", i);
    }
    return time;
}

std::string timeText(std::chrono::milliseconds time) {
    const long long count = time.count();
    return count % 60'000 == 0 ? std::to_string(count / 60'000) + "min"
           : count % 1000 == 0 ? std::to_string(count / 1000) + "s"
                               : std::to_string(count) + "ms";
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
