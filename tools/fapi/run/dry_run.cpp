// SPDX-License-Identifier: Apache-2.0
// What a plan would do.
#include "run/dry_run.h"

#include "base/terminal.h"
#include "target/output.h"

namespace tool {

namespace {

Json toJson(const Plan& plan) {
    Json json = {{"file", plan.file}, {"plan", plan.name}, {"unit", plan.unit}, {"limits", plan.limitsFile}};
    json["parameters"] = Json::array();
    for (const PlanParameter& parameter : plan.parameters) {
        json["parameters"].push_back({{"name", parameter.name},
                                      {"what", parameter.what},
                                      {"matches", parameter.pattern},
                                      {"default", parameter.fallback ? Json(*parameter.fallback) : Json(nullptr)}});
    }
    json["faults"] = Json::array();
    for (const PlanFault& fault : plan.faults) {
        json["faults"].push_back(fault.text());
    }
    json["steps"] = Json::array();
    for (const Step& step : plan.steps) {
        Json told = {{"step", step.name}, {"teardown", step.teardown}, {"retry", step.retry}};
        told["lines"] = Json::array();
        for (const PlanLine& line : step.lines) {
            told["lines"].push_back(line.text());
            for (const Expectation& expectation : line.expectations) {
                told["lines"].push_back(expectation.text);
            }
        }
        json["steps"].push_back(std::move(told));
    }
    return json;
}

}  // namespace

void printDryRun(const Plan& plan, bool json) {
    if (json) {
        printLine(jsonLine(toJson(plan)));
        return;
    }
    printLine(printable(plan.name));
    for (const PlanParameter& parameter : plan.parameters) {
        printLine("  parameter: " + parameter.name +
                  (parameter.fallback ? " = " + printable(*parameter.fallback) : "") + ": " +
                  printable(parameter.what));
    }
    for (const PlanFault& fault : plan.faults) {
        printLine("  fault: " + printable(fault.text()));
    }
    for (const Step& step : plan.steps) {
        std::string line = "  " + std::string(step.teardown ? "teardown: " : "") + printable(step.name);
        if (step.retry != 0) {
            line += " (up to " + std::to_string(step.retry + 1) + " attempts, " + std::to_string(step.every.count()) +
                    " ms apart)";
        }
        printLine(line);
        for (const PlanLine& planLine : step.lines) {
            printLine("    " + printable(planLine.text()));
            for (const Expectation& expectation : planLine.expectations) {
                printLine("        " + printable(expectation.text));
            }
        }
    }
}

}  // namespace tool
