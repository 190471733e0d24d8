// SPDX-License-Identifier: Apache-2.0
// Reads plans line by line.
#include "language/parser.h"

#include <algorithm>
#include <filesystem>

#include "base/words.h"
#include "language/words_of_plans.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr char kOnlyIfPlace[] = "only-if stands before a line of a step, or behind a step's or a group's name";

}  // namespace

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
            {"group", Place::frame, &PlanParser::parseGroup},
            {"setup", Place::frame, &PlanParser::parseSection},
            {"steps", Place::frame, &PlanParser::parseSection},
            {"teardown", Place::frame, &PlanParser::parseTeardown},
            {"repeat", Place::frame, &PlanParser::parseRepeat},
            {"alongside", Place::frame, &PlanParser::parseAlongside},
            {"end", Place::frame, &PlanParser::parseEnd},
            {"include", Place::frame, &PlanParser::addInclude},
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
    std::vector<std::string> known = {"every", kOnlyIf, "retry", "within"};
    for (const PlanWord& row : planWords()) {
        known.emplace_back(row.word);
    }
    return known;
}

PlanParser::PlanParser(std::string_view text, std::vector<Problem>& problems, const std::string& file)
    : _problems(problems) {
    _plan.file = file;
    std::error_code error;
    _chain.push_back(fs::weakly_canonical(fs::absolute(file, error), error).string());
    for (const std::string_view line : splitLines(text)) {
        ++_line;
        parseLine(line);
    }
    finish();
}

void PlanParser::parseLine(std::string_view text) {
    _text = text;
    try {
        Words words = wordsOf(text);
        _before = 0;
        _conditions.clear();
        if (words.empty()) {
            return;
        }
        std::string skipped;
        if (words[0] == kOnlyIf) {
            _before = takeCondition(words, skipped, _conditions);
            words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(_before));
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
    addProblem(_line, columnOf(_text, error.behind(_before, error.what())), error.what());
}

void PlanParser::addProblem(unsigned int line, std::size_t column, const std::string& text) {
    _problems.push_back({line, column, text, _source.name});
}

// --- Lines that are only for some runs -------------------------------------------------------------------------------

// Reads the condition before a line. Returns how many words it has.
std::size_t PlanParser::takeCondition(const Words& words, std::string& skipped, std::vector<OnlyIf>& conditions) {
    const std::size_t used = readOnlyIf(words, 0, skipped, conditions);
    if (words.size() == used) {
        throw UsageError(kOnlyIfPlace, used);
    }
    const PlanWord* word = findPlanWord(words[used]);
    const bool isFollower = word != nullptr && word->place == Place::follower && conditions.empty();
    if (words[used] == kOnlyIf || (word != nullptr && word->place != Place::line && !isFollower)) {
        throw UsageError(kOnlyIfPlace, 0);
    }
    return used;
}

// Reads "only-if target KIND" and "only-if NAME [is|in|...] VALUE" at words[i]. Returns the place behind it.
std::size_t PlanParser::readOnlyIf(const Words& words, std::size_t i, std::string& skipped,
                                   std::vector<OnlyIf>& conditions) {
    const auto wordAt = [&](std::size_t place) { return place < words.size() ? words[place] : std::string(); };
    const std::string subject = wordAt(i + 1), kind = wordAt(i + 2);
    if (subject == "target") {
        if (kind != "virtual" && kind != "board") {
            throw UsageError("expected: only-if target virtual or only-if target board", i + 2);
        }
        if (kind != targetKind() && skipped.empty()) {
            skipped = "only for a target of the kind " + kind + ", and this one is " + targetKind();
        }
        return i + 3;
    }
    std::vector<std::string> known = {"target"};
    for (const PlanParameter& parameter : _plan.parameters) {
        known.push_back(parameter.name);
    }
    known.insert(known.end(), _loops.begin(), _loops.end());
    const auto given = _source.values.find(subject);
    if (given == _source.values.end() && std::count(known.begin(), known.end(), subject) == 0) {
        const std::string near = nearest(subject, known);
        throw UsageError(subject.empty() ? "expected: only-if target KIND or only-if NAME is VALUE"
                                         : display(subject, 40) + " is no parameter, and no variable of a loop" +
                                               (near.empty() ? "" : ", did you mean " + near + "?"),
                         i + 1);
    }
    _source.used.insert(subject);
    OnlyIf only;
    only.condition.subject = subject;
    only.value = given != _source.values.end() ? given->second : "${" + subject + "}";
    const std::size_t used = readCondition(words, i + 2, only.condition);
    conditions.push_back(std::move(only));
    return used;
}

// Whether the line belongs to one that is skipped, or to a step that is.
bool PlanParser::isAfterSkipped(const PlanWord* word) const {
    if (!_hasStep || (word != nullptr && (word->place == Place::head || word->place == Place::frame))) {
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
    leaveStep();
    closeParts(_chain.size());
    if (_plan.name.empty()) {
        _problems.insert(_problems.begin(), {1, 1, "the plan has no name, expected: plan NAME"});
    }
    if (_plan.steps.empty()) {
        _problems.push_back({std::max(_line, 1u), 1, "the plan has no step, expected: step NAME"});
    }
    if (countPlaces(_plan.parts) > kMostPlaces) {
        _problems.push_back({1, 1, "the loops come to more than " + std::to_string(kMostPlaces) + " steps"});
    }
    const bool isFlat = std::all_of(_plan.parts.begin(), _plan.parts.end(),
                                    [](const PlanPart& part) { return part.kind == PartKind::step; });
    if (isFlat) {
        _plan.parts.clear();
    }
    sortProblems();
}

// By their lines; those of included files follow. A file that is included twice says everything once.
void PlanParser::sortProblems() {
    const auto rankOf = [&](const std::string& file) {
        const auto isFile = [&](const PlanInclude& include) { return include.file == file; };
        const auto found = std::find_if(_plan.includes.begin(), _plan.includes.end(), isFile);
        return file.empty() ? 0 : 1 + (found - _plan.includes.begin());
    };
    std::stable_sort(_problems.begin(), _problems.end(), [&](const Problem& left, const Problem& right) {
        return std::make_pair(rankOf(left.file), left.line) < std::make_pair(rankOf(right.file), right.line);
    });
    const auto isSame = [](const Problem& left, const Problem& right) {
        return left.file == right.file && left.line == right.line && left.column == right.column &&
               left.text == right.text;
    };
    _problems.erase(std::unique(_problems.begin(), _problems.end(), isSame), _problems.end());
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
