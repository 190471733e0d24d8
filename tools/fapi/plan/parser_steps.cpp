// SPDX-License-Identifier: Apache-2.0
// Lines of a plan that begin steps, and what these lines may say.
#include <algorithm>

#include "plan/parser.h"
#include "plan/words_of_plans.h"

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
    endStep();
    // The step counts even when its line is wrong, so that what follows has a place.
    Step& step = _plan.steps.emplace_back();
    step.line = _line;
    _stepColumn = columnOf(_text, 0);
    step.teardown = _teardown;
    step.stopOnFailure = _stopOnFailure && !_teardown;
    if (words.size() < 2 || words[1].empty()) {
        throw UsageError("expected: step NAME [retry N] [every TIME] [on-failure stop|continue] [only-if target KIND]",
                         1);
    }
    step.name = words[1];
    for (std::size_t i = 2; i < words.size();) {
        i = parseStepOption(words, i, step);
    }
    if (step.every.count() != 0 && step.retry == 0) {
        throw UsageError("every says how far retries are apart, expected retry too");
    }
}

std::size_t PlanParser::parseStepOption(const Words& words, std::size_t i, Step& step) const {
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
        if (!parseTime(next, step.every)) {
            throw UsageError("every is " + display(next, 40) + ", expected a time like 200ms or 1.5s", i + 1);
        }
        return i + 2;
    }
    if (words[i] == "on-failure" && _teardown) {
        throw UsageError("on-failure: a teardown goes on whatever fails", i);
    }
    if (words[i] == "on-failure") {
        return parseOnFailure(words, i, step.stopOnFailure);
    }
    if (words[i] == kOnlyIf) {
        step.skipped = conditionAt(words, i);
        return i + kConditionWords;
    }
    const std::string instead = unknownPlanWord(words[i], knownWords());
    const bool isForeign = instead.rfind("plans know", 0) == 0;
    throw UsageError(isForeign ? instead : display(words[i], 40) + ": expected retry, every, on-failure or only-if", i);
}

void PlanParser::parseTeardown(const Words& words) {
    endStep();
    requireEnd(words, 1);
    if (_teardown) {
        throw UsageError("there is a teardown already");
    }
    _teardown = true;
}

void PlanParser::endStep() {
    if (!_plan.steps.empty() && _plan.steps.back().lines.empty() && !_plan.steps.back().name.empty()) {
        _problems.push_back({_plan.steps.back().line, _stepColumn, "the step does nothing"});
    }
}

}  // namespace tool
