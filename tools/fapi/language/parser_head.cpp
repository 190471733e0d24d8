// SPDX-License-Identifier: Apache-2.0
// The lines of a plan before its first step.
#include <algorithm>

#include "language/parser.h"
#include "language/words_of_plans.h"

namespace tool {

void PlanParser::parsePlanName(const Words& words) {
    const bool hasLimit = words.size() == 4 && words[2] == "within";
    if (words.size() != 2 && !hasLimit) {
        throw UsageError("expected: plan NAME [within TIME]", std::min<std::size_t>(words.size(), 2));
    }
    if (!_plan.name.empty() || !_plan.steps.empty()) {
        throw UsageError("a plan has one name, before its first step");
    }
    _plan.name = words[1];
    if (hasLimit) {
        _plan.within = parseTimeAt(words, 3);
    }
}

void PlanParser::requireHead(const std::string& word) const {
    if (!_plan.steps.empty() || !_open.empty()) {
        throw UsageError(word + " stands before the first step", 0);
    }
}

void PlanParser::addParameter(const Words& words) {
    requireHead("param");
    if (words.size() < 2 || !isName(words[1])) {
        throw UsageError(
            "expected: param NAME [matches RE] [default VALUE] \"what it is\" "
            "(a name of letters, digits and _)",
            std::min<std::size_t>(words.size(), 1));
    }
    if (!_kept.insert(words[1]).second) {
        throw UsageError("there is a " + words[1] + " already", 1);
    }
    _plan.parameters.push_back(parseParameter(words));
}

void PlanParser::parseUnit(const Words& words) {
    requireHead("unit");
    if (words.size() != 3 || words[1] != "serial" || words[2].empty()) {
        const bool isOther = words.size() > 1 && words[1] != "serial";
        throw UsageError("expected: unit serial VALUE", isOther ? 1 : std::min<std::size_t>(words.size(), 3));
    }
    if (!_plan.unit.empty()) {
        throw UsageError("a plan has one unit", 0);
    }
    useVariables(words);
    _plan.unit = words[2];
}

// A file whose name depends on a parameter is read when a run begins.
void PlanParser::parseLimitsLine(const Words& words) {
    requireHead("limits");
    if (words.size() != 2 || words[1].empty()) {
        throw UsageError("expected: limits FILE", std::min<std::size_t>(words.size(), 2));
    }
    if (!_plan.limitsFile.empty()) {
        throw UsageError("a plan has one file of limits", 0);
    }
    _plan.limitsFile = words[1];
    const std::vector<std::string> names = variablesOf(words[1]);
    _areLimitsKnown =
        std::all_of(names.begin(), names.end(), [](const std::string& name) { return name == kPlanFolder; });
    if (useVariables(words) && !_areLimitsKnown) {
        return;
    }
    try {
        _plan.limits = limitsFor(_plan, {});
    } catch (const UsageError& error) {
        _areLimitsKnown = false;
        throw UsageError(error.what(), 1);
    }
}

void PlanParser::parseDefaultOnFailure(const Words& words) {
    if (!_plan.steps.empty()) {
        throw UsageError("on-failure stands before the first step, or behind a step's name");
    }
    requireEnd(words, parseOnFailure(words, 0, _stopOnFailure));
}

}  // namespace tool
