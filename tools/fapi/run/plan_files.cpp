// SPDX-License-Identifier: Apache-2.0
// Plans and faults, as they are read from files.
#include "run/plan_files.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "base/terminal.h"
#include "plan/files.h"
#include "protocol/sha256.h"
#include "target/output.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// "FILE:LINE:COLUMN: what is wrong" on standard error, as far as that is known; an object for programs, too.
void complain(bool json, const std::string& file, const std::string& text, unsigned int line = 0,
              std::size_t column = 0, bool warning = false) {
    Json told = {{"file", file}, {warning ? "warning" : "problem", text}};
    std::string place = file;
    if (line != 0) {
        told["line"] = line;
        place += ':' + std::to_string(line);
    }
    if (column != 0) {
        told["column"] = column;
        place += ':' + std::to_string(column);
    }
    std::fprintf(stderr, "%s: %s%s\n", printable(place).c_str(), warning ? "warning: " : "", printable(text).c_str());
    if (json) {
        printLine(jsonLine(told));
    }
}

// False, and a message, when it cannot be read.
bool readText(bool json, const std::string& file, std::string& text) {
    std::error_code error;
    std::ifstream stream;
    if (fs::is_regular_file(file, error)) {
        stream.open(file, std::ios::binary);
    }
    if (!stream.is_open()) {
        complain(json, file, "cannot be read");
        return false;
    }
    text.assign(std::istreambuf_iterator<char>(stream), {});
    return true;
}

// Tells a changed file from the one it was.
std::string hashOf(const std::string& text) {
    Sha256 sum;
    sum.add(text.data(), text.size());
    return sum.sum();
}

// All plans, or none when one of them has a problem; those are printed.
bool readPlans(bool json, const std::vector<std::string>& files, std::vector<Plan>& plans) {
    bool good = true;
    for (const std::string& word : files) {
        const std::optional<std::string> found = planFile(word);
        if (!found) {
            complain(json, word, unknownPlan(word));
            good = false;
            continue;
        }
        const std::string& file = *found;
        std::string text;
        if (!readText(json, file, text)) {
            good = false;
            continue;
        }
        std::vector<Problem> problems;
        plans.push_back(parsePlan(text, problems, file));
        plans.back().hash = hashOf(text);
        for (const Problem& problem : problems) {
            complain(json, file, problem.text, problem.line, problem.column);
        }
        for (const Problem& warning : plans.back().warnings) {
            complain(json, file, warning.text, warning.line, warning.column, true);
        }
        good = good && problems.empty();
    }
    return good;
}

bool hasStep(const Plan& plan, const std::string& name) {
    return std::any_of(plan.steps.begin(), plan.steps.end(), [&](const Step& step) { return step.name == name; });
}

// Gives each plan the faults that it can meet. False, and the problems are told, when there are some; steps
// are looked for when there are plans.
bool readFaults(bool json, const std::string& file, std::vector<Plan>& plans) {
    std::string text;
    if (file.empty()) {
        return true;
    }
    if (!readText(json, file, text)) {
        return false;
    }
    std::vector<Problem> problems;
    for (const PlanFault& fault : parseFaults(text, problems)) {
        bool known = plans.empty() || fault.step.empty();
        for (Plan& plan : plans) {
            if (fault.step.empty() || hasStep(plan, fault.step)) {
                plan.faults.push_back(fault);
                known = true;
            }
        }
        if (!known) {
            problems.push_back({fault.line, fault.stepColumn, "no plan has a step " + display(fault.step, 60)});
        }
    }
    std::stable_sort(problems.begin(), problems.end(),
                     [](const Problem& left, const Problem& right) { return left.line < right.line; });
    for (const Problem& problem : problems) {
        complain(json, file, problem.text, problem.line, problem.column);
    }
    for (Plan& plan : plans) {
        plan.faultsHash = hashOf(text);
    }
    return problems.empty();
}

}  // namespace

bool readPlansAndFaults(bool json, const std::vector<std::string>& files, const std::string& faults,
                        std::vector<Plan>& plans) {
    if (readPlans(json, files, plans)) {
        return readFaults(json, faults, plans);
    }
    // The steps of a plan with problems are not known.
    std::vector<Plan> none;
    static_cast<void>(readFaults(json, faults, none));
    return false;
}

}  // namespace tool
