// SPDX-License-Identifier: Apache-2.0
// Lines of a plan that begin steps, and what these lines may say.
#include <algorithm>

#include "language/parser.h"
#include "language/words_of_plans.h"

namespace tool {

namespace {

constexpr long long kMostRetries = 100000;

}  // namespace

// "on-failure stop|continue" at words[i]; returns the place behind it.
std::size_t PlanParser::parseOnFailure(const Words& words, std::size_t i, bool& stop) {
    if (i + 1 >= words.size() || (words[i + 1] != "stop" && words[i + 1] != "continue")) {
        throw UsageError("expected: on-failure stop or on-failure continue", i + 1);
    }
    stop = words[i + 1] == "stop";
    return i + 2;
}

void PlanParser::parseStep(const Words& words) {
    leaveStep();
    // The step counts even when its line is wrong, so that what follows has a place.
    addPart({PartKind::step, Section::steps, _line, _source.name, "", _plan.steps.size(), {}, {}});
    Step& step = _plan.steps.emplace_back();
    _hasStep = true;
    step.line = _line;
    step.file = _source.name;
    _stepColumn = columnOf(_text, 0);
    step.teardown = isInTeardown();
    step.stopOnFailure = _stopOnFailure && !step.teardown;
    for (const OpenPart& open : _open) {
        step.skipped = step.skipped.empty() ? open.skipped : step.skipped;
        step.conditions.insert(step.conditions.end(), open.conditions.begin(), open.conditions.end());
    }
    if (!_open.empty() && _open.back().part.kind == PartKind::alongside) {
        throw UsageError("step: what runs alongside is a group, expected: group NAME", 0);
    }
    if (words.size() < 2 || words[1].empty()) {
        throw UsageError(
            "expected: step NAME [retry N] [every TIME] [within TIME] [on-failure stop|continue] [only-if ...]", 1);
    }
    step.name = words[1];
    for (std::size_t i = 2; i < words.size();) {
        i = parseStepOption(words, i, step);
    }
    if (step.every.count() != 0 && step.retry == 0) {
        throw UsageError("every says how far retries are apart, expected retry too");
    }
    if (step.every.count() != 0 && step.retry > static_cast<unsigned long long>(step.within / step.every)) {
        warn("the retries take longer than the step may (" + timeText(step.within) + "), see within");
    }
}

std::size_t PlanParser::parseStepOption(const Words& words, std::size_t i, Step& step) {
    const std::string next = i + 1 < words.size() ? words[i + 1] : "";
    if (words[i] == "retry") {
        long long retry = 0;
        if (!parseNumber(next, retry) || retry < 0 || retry > kMostRetries) {
            throw UsageError("retry is " + display(next, 40) + ", expected a number of further attempts", i + 1);
        }
        step.retry = static_cast<unsigned int>(retry);
        return i + 2;
    }
    if (words[i] == "every") {
        step.every = parseTimeAt(words, i + 1);
        return i + 2;
    }
    if (words[i] == "within") {
        step.within = parseTimeAt(words, i + 1);
        return i + 2;
    }
    if (words[i] == "on-failure" && step.teardown) {
        throw UsageError("on-failure: a teardown goes on whatever fails", i);
    }
    if (words[i] == "on-failure") {
        return parseOnFailure(words, i, step.stopOnFailure);
    }
    if (words[i] == kOnlyIf) {
        return readOnlyIf(words, i, step.skipped, step.conditions);
    }
    const std::string instead = unknownPlanWord(words[i], knownWords());
    const bool isForeign = instead.rfind("plans know", 0) == 0;
    throw UsageError(
        isForeign ? instead : display(words[i], 40) + ": expected retry, every, within, on-failure or only-if", i);
}

void PlanParser::endStep() {
    if (_hasStep && _plan.steps.back().lines.empty() && !_plan.steps.back().name.empty()) {
        addProblem(_plan.steps.back().line, _stepColumn, "the step does nothing");
    }
}

}  // namespace tool
