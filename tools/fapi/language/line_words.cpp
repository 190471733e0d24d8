// SPDX-License-Identifier: Apache-2.0
// Lines of steps that are no operation and no action.
#include "language/line_words.h"

#include <algorithm>

#include "plan/data.h"
#include "plan/picture_line.h"
#include "plan/program_step.h"
#include "plan/prompt.h"
#include "language/words_of_plans.h"

namespace tool {

namespace {

LineFacts checkPrompt(const Words& words) {
    const PromptLine prompt = parsePrompt(words);
    LineFacts facts;
    facts.outputs = promptOutputs(prompt);
    if (prompt.kind == PromptKind::scan) {
        facts.keeps.push_back(prompt.name);
    }
    return facts;
}

}  // namespace

const std::vector<LineWord>& lineWords() {
    static const std::vector<LineWord> kLineWords = {
        {"data", LineKind::data, "data", false,
         [](const Words& words) {
             return LineFacts{PlanData::parse(words).name, {}};
         }},
        {"picture", LineKind::picture, "a picture", false,
         [](const Words& words) {
             return LineFacts{parsePicture(words).name, {}};
         }},
        {"wait", LineKind::wait, "a wait", false,
         [](const Words& words) {
             if (words.size() != 2 || variablesOf(words[1]).empty()) {
                 static_cast<void>(parseWait(words));
             }
             return LineFacts{};
         }},
        {"ask", LineKind::prompt, "a question", true, checkPrompt},
        {"choose", LineKind::prompt, "a question", true, checkPrompt},
        {"scan", LineKind::prompt, "a question", true, checkPrompt},
        {"show", LineKind::prompt, "what is shown", true, checkPrompt},
        {"run", LineKind::program, "a program", true,
         [](const Words& words) {
             const ProgramLine line = parseProgramLine(words);
             LineFacts facts;
             facts.program = variablesOf(line.command[0]).empty() ? line.command[0] : "";
             return facts;
         }},
        {"use", LineKind::instruments, "what a step uses", false,
         [](const Words& words) {
             if (words.size() < 2) {
                 throw UsageError("expected: use INSTRUMENT...", 1);
             }
             return LineFacts{};
         }},
    };
    return kLineWords;
}

const LineWord* findLineWord(const std::string& word) {
    const std::vector<LineWord>& words = lineWords();
    const auto found = std::find_if(words.begin(), words.end(), [&](const LineWord& row) { return word == row.word; });
    return found == words.end() ? nullptr : &*found;
}

}  // namespace tool
