// SPDX-License-Identifier: Apache-2.0
// Reads plans line by line.
#include "plan/parser.h"

#include <algorithm>

#include "base/words.h"
#include "plan/words_of_plans.h"

namespace tool {

bool isName(const std::string& word) {
    return !word.empty() && word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") ==
                                std::string::npos;
}

void requireEnd(const Words& words, std::size_t used) {
    if (words.size() > used) {
        throw UsageError(display(words[used], 40) + " is one word too many", used);
    }
}

// Every word that lines begin with, but for operations and actions. A word of a line in a step needs no row here: it
// has one in lineWords().
const std::vector<PlanParser::PlanWord>& PlanParser::planWords() {
    static const std::vector<PlanWord> kWords = [] {
        std::vector<PlanWord> words = {
            {"plan", Place::head, &PlanParser::parsePlanName},
            {"on-failure", Place::head, &PlanParser::parseDefaultOnFailure},
            {"param", Place::head, &PlanParser::addParameter},
            {"unit", Place::head, &PlanParser::parseUnit},
            {"limits", Place::head, &PlanParser::parseLimitsLine},
            {"step", Place::frame, &PlanParser::parseStep},
            {"teardown", Place::frame, &PlanParser::parseTeardown},
            {"expect", Place::follower, &PlanParser::addExpectation},
            {"measure", Place::follower, &PlanParser::addExpectation},
            {"keep", Place::follower, &PlanParser::addKeep},
        };
        for (const LineWord& own : lineWords()) {
            words.push_back({own.word, Place::line, &PlanParser::addOwnLine});
        }
        return words;
    }();
    return kWords;
}

const PlanParser::PlanWord* PlanParser::findPlanWord(const std::string& word) {
    const std::vector<PlanWord>& words = planWords();
    const auto found = std::find_if(words.begin(), words.end(), [&](const PlanWord& row) { return word == row.word; });
    return found == words.end() ? nullptr : &*found;
}

std::vector<std::string> PlanParser::knownWords() {
    std::vector<std::string> known = {"every", kOnlyIf, "retry"};
    for (const PlanWord& row : planWords()) {
        known.emplace_back(row.word);
    }
    return known;
}

PlanParser::PlanParser(std::string_view text, std::vector<Problem>& problems, const std::string& file)
    : _problems(problems) {
    _plan.file = file;
    for (const std::string_view line : splitLines(text)) {
        ++_line;
        parseLine(line);
    }
    finish();
}

void PlanParser::parseLine(std::string_view text) {
    _text = text;
    try {
        Words words = splitWords(text);
        _before = 0;
        if (words.empty()) {
            return;
        }
        std::string skipped;
        if (words[0] == kOnlyIf) {
            skipped = takeCondition(words);
        }
        const PlanWord* word = findPlanWord(words[0]);
        if (!skipped.empty() || isAfterSkipped(word)) {
            skipLine(words, word, skipped);
        } else if (word != nullptr) {
            (this->*word->read)(words);
        } else {
            checkFirstWord(words[0]);
            addCommand(words);
        }
    } catch (const UsageError& error) {
        problem(error);
    }
}

void PlanParser::problem(const UsageError& error) {
    _problems.push_back({_line, columnOf(_text, error.behind(_before, error.what())), error.what()});
}

// --- Lines that are only for some sets -------------------------------------------------------------------------------

// Cuts "only-if target KIND" off the words, from words[i] on. Returns why the set is not meant; empty when it is.
std::string PlanParser::takeCondition(Words& words) {
    const std::string skipped = conditionAt(words, 0);
    if (words.size() == kConditionWords) {
        throw UsageError("only-if stands before a line of a step, or behind a step's name", kConditionWords);
    }
    const PlanWord* word = findPlanWord(words[kConditionWords]);
    const bool isWhole = word != nullptr && (word->place == Place::head || word->place == Place::frame);
    if (isWhole || words[kConditionWords] == kOnlyIf) {
        throw UsageError("only-if stands before a line of a step, or behind a step's name", 0);
    }
    words.erase(words.begin(), words.begin() + kConditionWords);
    _before = kConditionWords;
    return skipped;
}

std::string PlanParser::conditionAt(const Words& words, std::size_t i) {
    const auto wordAt = [&](std::size_t place) { return place < words.size() ? words[place] : std::string(); };
    const std::string kind = wordAt(i + 2);
    if (wordAt(i + 1) != "target" || (kind != "virtual" && kind != "board")) {
        throw UsageError("expected: only-if target virtual or only-if target board",
                         wordAt(i + 1) != "target" ? i + 1 : i + 2);
    }
    return kind == targetKind() ? "" : "only for a target of the kind " + kind + ", and this one is " + targetKind();
}

// Whether the line belongs to one that is skipped, or to a step that is.
bool PlanParser::isAfterSkipped(const PlanWord* word) const {
    if (_plan.steps.empty() || (word != nullptr && (word->place == Place::head || word->place == Place::frame))) {
        return false;
    }
    const bool follows = word != nullptr && word->place == Place::follower;
    const std::vector<PlanLine>& lines = _plan.steps.back().lines;
    return !_plan.steps.back().skipped.empty() || (follows && !lines.empty() && !lines.back().skipped.empty());
}

// What is not for this set is not checked: its agent need not know any of it.
void PlanParser::skipLine(const Words& words, const PlanWord* word, const std::string& why) {
    if (words[0] == "keep" && words.size() == 3) {
        _kept.insert(words[1]);
    }
    if (word == nullptr || word->place != Place::follower) {
        PlanLine& line = addLine(words);
        line.skipped = why.empty() ? _plan.steps.back().skipped : why;
    }
}

// --- Its end ---------------------------------------------------------------------------------------------------------

void PlanParser::finish() {
    endStep();
    if (_plan.name.empty()) {
        _problems.insert(_problems.begin(), {1, 1, "the plan has no name, expected: plan NAME"});
    }
    if (_plan.steps.empty()) {
        _problems.push_back({std::max(_line, 1u), 1, "the plan has no step, expected: step NAME"});
    }
    std::stable_sort(_problems.begin(), _problems.end(),
                     [](const Problem& left, const Problem& right) { return left.line < right.line; });
}

std::string PlanLine::text() const {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + quoteWord(word);
    }
    return text;
}

Plan parsePlan(std::string_view text, std::vector<Problem>& problems, const std::string& file) {
    return PlanParser(text, problems, file).take();
}

}  // namespace tool
