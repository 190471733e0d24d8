// SPDX-License-Identifier: Apache-2.0
// Lines of a plan that hold steps together: groups, loops, what runs side by side.
#include <algorithm>

#include "language/parser.h"

namespace tool {

namespace {

constexpr char kLoopUsage[] = "expected: repeat for NAME in VALUE... | in A..B | from limits \"NAME *\"";

bool readRange(const std::string& word, Loop& loop) {
    const std::size_t dots = word.find("..");
    return dots != std::string::npos && parseNumber(word.substr(0, dots), loop.first) &&
           parseNumber(word.substr(dots + 2), loop.last);
}

// Any difference of two numbers, without an overflow.
std::size_t turnsOf(const Loop& loop) {
    const auto distance = static_cast<unsigned long long>(loop.last) - static_cast<unsigned long long>(loop.first);
    return distance < kMostPlaces ? static_cast<std::size_t>(distance) + 1 : kMostPlaces + 1;
}

}  // namespace

// --- Where the present line is ---------------------------------------------------------------------------------------

bool PlanParser::isIn(PartKind kind) const {
    return std::any_of(_open.begin(), _open.end(), [&](const OpenPart& open) { return open.part.kind == kind; });
}

bool PlanParser::isInTeardown() const {
    return _teardown || std::any_of(_open.begin(), _open.end(),
                                    [](const OpenPart& open) { return open.section == Section::teardown; });
}

// Ends the step above, which a line of another one follows.
void PlanParser::leaveStep() {
    endStep();
    _hasStep = false;
}

void PlanParser::addPart(PlanPart part) {
    if (!_open.empty()) {
        part.section = _open.back().section;
    }
    (_open.empty() ? _plan.parts : _open.back().part.parts).push_back(std::move(part));
}

// Begins a part, which the line "end" ends. It counts even when its line is wrong: so does its end.
PlanPart& PlanParser::openPart(PartKind kind, const char* word) {
    const bool isSideBySide = !_open.empty() && _open.back().part.kind == PartKind::alongside;
    const bool isNested = kind == PartKind::alongside && isIn(PartKind::alongside);
    OpenPart& open = _open.emplace_back();
    open.part.kind = kind;
    open.part.line = _line;
    open.part.file = _source.name;
    open.word = word;
    open.column = columnOf(_text, 0);
    open.source = _chain.size();
    if (isNested) {
        throw UsageError("alongside stands in no other alongside", 0);
    }
    if (isSideBySide && kind != PartKind::group) {
        throw UsageError(std::string(word) + ": what runs alongside is a group, expected: group NAME", 0);
    }
    return open.part;
}

// --- Lines -----------------------------------------------------------------------------------------------------------

void PlanParser::parseGroup(const Words& words) {
    leaveStep();
    PlanPart& part = openPart(PartKind::group, "group");
    if (words.size() < 2 || words[1].empty()) {
        throw UsageError("expected: group NAME [only-if ...]", 1);
    }
    part.name = words[1];
    if (words.size() > 2) {
        if (words[2] != kOnlyIf) {
            throw UsageError(display(words[2], 40) + ": expected only-if", 2);
        }
        OpenPart& open = _open.back();
        requireEnd(words, readOnlyIf(words, 2, open.skipped, open.conditions));
    }
}

void PlanParser::parseSection(const Words& words) {
    leaveStep();
    requireEnd(words, 1);
    if (_open.empty() || _open.back().part.kind != PartKind::group) {
        throw UsageError(words[0] + " stands in a group, before its steps", 0);
    }
    OpenPart& open = _open.back();
    const Section section = words[0] == "setup" ? Section::setup : Section::steps;
    const bool isFirst = open.part.parts.empty() && section == Section::setup && open.section == Section::steps;
    if (!isFirst && (section == Section::setup || open.section != Section::setup)) {
        throw UsageError(section == Section::setup ? "setup stands before all steps of its group"
                                                   : "steps stands after the setup of its group",
                         0);
    }
    open.section = section;
}

void PlanParser::parseTeardown(const Words& words) {
    leaveStep();
    requireEnd(words, 1);
    if (_open.empty()) {
        if (_teardown) {
            throw UsageError("there is a teardown already");
        }
        _teardown = true;
        return;
    }
    OpenPart& open = _open.back();
    if (open.part.kind != PartKind::group) {
        throw UsageError("teardown stands in a group, or after all groups and loops", 0);
    }
    if (open.section == Section::teardown) {
        throw UsageError("there is a teardown already");
    }
    open.section = Section::teardown;
}

void PlanParser::parseRepeat(const Words& words) {
    leaveStep();
    Loop& loop = openPart(PartKind::repeat, "repeat").loop;
    const auto wordAt = [&](std::size_t i) { return i < words.size() ? words[i] : std::string(); };
    if (wordAt(1) != "for" || !isName(wordAt(2))) {
        throw UsageError(kLoopUsage, wordAt(1) != "for" ? 1 : 2);
    }
    setVariable(words[2], 2);
    loop.name = words[2];
    _loops.insert(loop.name);
    if (wordAt(3) == "from" && wordAt(4) == "limits") {
        parseTurnsOfLimits(words, loop);
        return;
    }
    if (wordAt(3) != "in" || words.size() < 5) {
        throw UsageError(
            words.size() == 4 && wordAt(3) == "in" ? "repeat has no turn: the values are missing" : kLoopUsage,
            std::min<std::size_t>(words.size(), 4));
    }
    if (words.size() == 5 && readRange(words[4], loop)) {
        if (loop.first > loop.last) {
            throw UsageError("repeat has no turn: " + display(words[4], 40) + " ends before it begins", 4);
        }
        loop.isRange = true;
        if (turnsOf(loop) > kMostPlaces) {
            loop.last = loop.first;
            throw UsageError(display(words[4], 40) + ": at most " + std::to_string(kMostPlaces) + " turns", 4);
        }
        return;
    }
    for (std::size_t i = 4; i < words.size(); ++i) {
        if (!variablesOf(words[i]).empty()) {
            throw UsageError("the values of a loop hold no ${NAME}, which only a run knows", i);
        }
        loop.values.push_back(words[i]);
    }
}

void PlanParser::parseTurnsOfLimits(const Words& words, Loop& loop) {
    if (words.size() != 6 || std::count(words[5].begin(), words[5].end(), '*') != 1) {
        throw UsageError("expected: repeat for NAME from limits \"NAME *\"", std::min<std::size_t>(words.size(), 5));
    }
    if (_plan.limitsFile.empty()) {
        throw UsageError("the plan names no file of limits (limits FILE)", 4);
    }
    loop.limits = words[5];
    if (_areLimitsKnown) {
        std::vector<PlanPart> only(1);
        only[0].loop.limits = loop.limits;
        try {
            fillLoops(only, _plan.limits);
            loop.values = only[0].loop.values;
        } catch (const UsageError&) {
            throw UsageError("repeat has no turn: there are no limits " + display(words[5], 60), 5);
        }
    }
}

void PlanParser::parseAlongside(const Words& words) {
    leaveStep();
    openPart(PartKind::alongside, "alongside");
    requireEnd(words, 1);
}

void PlanParser::parseEnd(const Words& words) {
    leaveStep();
    requireEnd(words, 1);
    if (_open.empty() || _open.back().source != _chain.size()) {
        throw UsageError("end ends no group, repeat or alongside", 0);
    }
    closePart();
}

void PlanParser::closePart() {
    OpenPart open = std::move(_open.back());
    _open.pop_back();
    if (open.part.parts.empty()) {
        addProblem(open.part.line, open.column, open.word + " holds no step");
    }
    if (open.part.kind == PartKind::repeat) {
        _loops.erase(open.part.loop.name);
        _kept.erase(open.part.loop.name);
    }
    addPart(std::move(open.part));
}

// What the end of a file leaves open.
void PlanParser::closeParts(std::size_t source) {
    while (!_open.empty() && _open.back().source == source) {
        addProblem(_open.back().part.line, _open.back().column, _open.back().word + " has no end");
        closePart();
    }
}

}  // namespace tool
