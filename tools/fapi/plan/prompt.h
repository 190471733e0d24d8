// SPDX-License-Identifier: Apache-2.0
// What a plan asks a person: "ask", "choose", "scan" and "show".
#ifndef FAPI_BENCH_PLAN_PROMPT_H
#define FAPI_BENCH_PLAN_PROMPT_H

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/words.h"
#include "judge/event.h"

namespace tool {

enum class PromptKind {
    ask,     // yes or no
    choose,  // one of several words
    scan,    // a text, of a scanner more often than not
    show     // something to do or to look at
};
const char* promptName(PromptKind kind);
// Whether a line that begins with that word asks a person.
bool isPromptWord(const std::string& word);

// What ends what is shown.
struct PromptEnd {
    enum class Kind { person, time, event } kind = Kind::person;
    std::chrono::milliseconds time{0};
    EventCondition event;
    std::string text;  // of the event, as an expectation of it is written
};

struct PromptLine {
    PromptKind kind = PromptKind::ask;
    std::string text;
    std::vector<std::string> choices;
    std::string name;     // of the variable that keeps what was scanned
    std::string pattern;  // that it has; empty: any text
    std::string picture;  // of the set, beside the question; empty: none
    PromptEnd end;        // of "show"
    std::optional<std::chrono::milliseconds> within;

    // Whether a person has to answer.
    bool needsAnswer() const { return kind != PromptKind::show || end.kind == PromptEnd::Kind::person; }
};

// Reads the words of such a line. What holds ${NAME} is not checked. Throws UsageError.
PromptLine parsePrompt(const Words& words);

// The names of what its answer can be expected to be.
std::vector<std::string> promptOutputs(const PromptLine& prompt);

}  // namespace tool

#endif
