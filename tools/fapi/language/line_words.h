// SPDX-License-Identifier: Apache-2.0
// Lines of steps that are no operation and no action: "picture", "wait" and the like.
#ifndef FAPI_BENCH_LANGUAGE_LINE_WORDS_H
#define FAPI_BENCH_LANGUAGE_LINE_WORDS_H

#include <string>
#include <vector>

#include "plan/step.h"

namespace tool {

// What the check of such a line finds.
struct LineFacts {
    std::string name;                // which stands once in a plan for lines of this kind; empty: it has none
    std::vector<std::string> keeps;  // the names of the values that later lines can use
    std::optional<std::vector<std::string>> outputs = std::nullopt;  // as far as they are known before a run
    std::string program = {};                                        // that has to be there
};

struct LineWord {
    const char* word;
    LineKind kind;
    const char* what;  // in messages: "a picture"
    bool answers;      // whether expectations and keeps can follow; its outputs are not known before a run
    // Throws UsageError. What holds variables is taken for something that fits.
    LineFacts (*check)(const Words& words);
};

// All of them. A new one needs a row here, and one in the table of run/line_run.cpp.
const std::vector<LineWord>& lineWords();
// Null for a word of none.
const LineWord* findLineWord(const std::string& word);

}  // namespace tool

#endif
