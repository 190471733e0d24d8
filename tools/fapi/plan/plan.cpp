// SPDX-License-Identifier: Apache-2.0
// What a plan becomes with the values of a run.
#include "plan/plan.h"

#include <algorithm>
#include <filesystem>

namespace tool {

namespace {

// Databases, labels and names of files have to take it.
constexpr std::size_t kLongestSerial = 128;

// Names of limits that depend on loops are checked for each turn.
void checkLimitsInLoops(const Plan& plan, const Limits& limits) {
    const auto hasVariables = [](const Expectation& expectation) {
        const auto* measure = std::get_if<Measure>(&expectation.what);
        return measure != nullptr && !variablesOf(measure->limits).empty();
    };
    const auto isChecked = [&](const Step& step) {
        return std::any_of(step.lines.begin(), step.lines.end(), [&](const PlanLine& line) {
            return std::any_of(line.expectations.begin(), line.expectations.end(), hasVariables);
        });
    };
    std::vector<bool> checked;
    for (const Step& step : plan.steps) {
        checked.push_back(isChecked(step));
    }
    if (std::count(checked.begin(), checked.end(), true) == 0) {
        return;
    }
    for (std::size_t place = 0; place < plan.size(); ++place) {
        const StepPlace found = placeOf(plan, place);
        if (!checked[found.step]) {
            continue;
        }
        Variables variables;
        found.setVariables(variables);
        for (const PlanLine& line : plan.steps[found.step].lines) {
            for (const Expectation& expectation : line.expectations) {
                if (hasVariables(expectation)) {
                    Measure measure = std::get<Measure>(expectation.what);
                    measure.limits = substitute(measure.limits, variables);
                    checkLimits(measure, limits);
                }
            }
        }
    }
}

}  // namespace

const Step& Plan::stepAt(std::size_t place) const {
    return steps[placeOf(*this, place).step];
}

std::string Plan::nameAt(std::size_t place) const {
    if (parts.empty()) {
        return steps[place].name;
    }
    const StepPlace found = placeOf(*this, place);
    std::string path, label;
    for (const Frame& frame : found.frames) {
        if (frame.part->kind == PartKind::repeat) {
            label += '[' + frame.part->loop.name + '=' + frame.part->loop.valueAt(frame.turn) + ']';
        } else if (frame.part->kind == PartKind::group) {
            path += frame.part->name + std::exchange(label, "") + '.';
        }
    }
    return path + steps[found.step].name + label;
}

bool Plan::hasStep(const std::string& wanted) const {
    const auto isWritten = [&](const Step& step) { return step.name == wanted; };
    if (std::any_of(steps.begin(), steps.end(), isWritten)) {
        return true;
    }
    for (std::size_t place = 0; !parts.empty() && place < size(); ++place) {
        if (nameAt(place) == wanted) {
            return true;
        }
    }
    return false;
}

void fillLoops(Plan& plan, const Limits& limits) {
    fillLoops(plan.parts, limits);
    if (countPlaces(plan.parts) > kMostPlaces) {
        throw UsageError("the loops come to more than " + std::to_string(kMostPlaces) + " steps");
    }
}

std::string folderOf(const Plan& plan) {
    const std::string folder = std::filesystem::path(plan.file).parent_path().string();
    return folder.empty() ? "." : folder;
}

Variables variablesFor(const Plan& plan, const ParameterValues& values) {
    Variables variables = {{kPlanFolder, folderOf(plan)}};
    for (const auto& [name, value] : values) {
        variables[name] = value;
    }
    return variables;
}

Limits limitsFor(const Plan& plan, const ParameterValues& values) {
    if (plan.limitsFile.empty()) {
        return {};
    }
    Variables variables = variablesFor(plan, values);
    // The name is one in the plan's folder already.
    variables[kPlanFolder] = std::string(".");
    const std::filesystem::path file = substitute(plan.limitsFile, variables);
    Limits limits = readLimits((std::filesystem::path(plan.file).parent_path() / file).string());
    for (const Step& step : plan.steps) {
        for (const PlanLine& line : step.lines) {
            for (const Expectation& expectation : line.expectations) {
                const auto* measure = std::get_if<Measure>(&expectation.what);
                if (measure != nullptr && variablesOf(measure->limits).empty()) {
                    checkLimits(*measure, limits);
                }
            }
        }
    }
    if (hasLoopsOverLimits(plan.parts)) {
        Plan filled = plan;
        fillLoops(filled, limits);
        checkLimitsInLoops(filled, limits);
    } else {
        checkLimitsInLoops(plan, limits);
    }
    return limits;
}

std::string unitFor(const Plan& plan, const ParameterValues& values) {
    if (plan.unit.empty()) {
        return "";
    }
    std::string serial = substitute(plan.unit, variablesFor(plan, values));
    const bool hasControl =
        std::any_of(serial.begin(), serial.end(), [](unsigned char c) { return c < ' ' || c == 127; });
    if (serial.empty() || serial.size() > kLongestSerial || hasControl) {
        throw UsageError("the unit's serial number is " + display(serial, 60) + ", expected 1 to " +
                         std::to_string(kLongestSerial) + " bytes without control characters");
    }
    return serial;
}

}  // namespace tool
