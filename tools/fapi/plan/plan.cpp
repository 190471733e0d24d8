// SPDX-License-Identifier: Apache-2.0
// What a plan becomes with the values of a run.
#include "plan/plan.h"

#include <algorithm>
#include <filesystem>

namespace tool {

namespace {

// Databases, labels and names of files have to take it.
constexpr std::size_t kLongestSerial = 128;

}  // namespace

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
                if (const auto* measure = std::get_if<Measure>(&expectation.what)) {
                    checkLimits(*measure, limits);
                }
            }
        }
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
