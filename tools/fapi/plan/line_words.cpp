// SPDX-License-Identifier: Apache-2.0
// Lines of steps that are no operation and no action.
#include "plan/line_words.h"

#include <algorithm>

#include "plan/data.h"
#include "plan/picture_line.h"
#include "plan/words_of_plans.h"

namespace tool {

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
    };
    return kLineWords;
}

const LineWord* findLineWord(const std::string& word) {
    const std::vector<LineWord>& words = lineWords();
    const auto found = std::find_if(words.begin(), words.end(), [&](const LineWord& row) { return word == row.word; });
    return found == words.end() ? nullptr : &*found;
}

}  // namespace tool
