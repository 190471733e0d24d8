// SPDX-License-Identifier: Apache-2.0
// Plans and faults, as they are read from files.
#include "run/plan_files.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>

#include "base/terminal.h"
#include "judge/variables.h"
#include "plan/files.h"
#include "plan/program_step.h"
#include "plan/prompt.h"
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

// The file that the word of a plan means; empty when a run decides that, and when there is none.
fs::path fileOf(const std::string& word, const Plan& plan) {
    const std::vector<std::string> names = variablesOf(word);
    if (std::any_of(names.begin(), names.end(), [](const std::string& name) { return name != kPlanFolder; })) {
        return {};
    }
    std::error_code error;
    fs::path file = folderOf(plan) / fs::path(substitute(word, variablesFor(plan, {})));
    return fs::is_regular_file(file, error) ? file.lexically_normal() : fs::path();
}

bool isBelow(const fs::path& file, const fs::path& folder) {
    const fs::path relative = file.lexically_relative(folder.lexically_normal());
    return !relative.empty() && *relative.begin() != "..";
}

// The program, when it is found from the plan's folder; else its first argument that is a file there, such as an
// interpreter's script.
fs::path programOf(const PlanLine& line, const Plan& plan) {
    const Words command = parseProgramLine(line.words).command;
    if (command[0].find('/') != std::string::npos && command[0].front() != '/') {
        return fileOf(command[0], plan);
    }
    for (std::size_t i = 1; i < command.size(); ++i) {
        if (fs::path file = fileOf(command[i], plan); !file.empty() && isBelow(file, folderOf(plan))) {
            return file;
        }
    }
    return {};
}

// Besides plans and limits: the programs that the plan brings along, and the pictures that a person compares with.
std::set<fs::path> filesBesides(const Plan& plan) {
    std::set<fs::path> files;
    for (const Step& step : plan.steps) {
        for (const PlanLine& line : step.lines) {
            if (line.kind == LineKind::program) {
                files.insert(programOf(line, plan));
            } else if (line.kind == LineKind::prompt) {
                files.insert(fileOf(parsePrompt(line.words).reference, plan));
            }
        }
    }
    files.erase(fs::path());
    return files;
}

std::string hashOf(const std::string& text) {
    Sha256 sum;
    sum.add(text.data(), text.size());
    return sum.sum();
}

// Tells a changed plan, or one of which another file has changed, from the one it was.
std::string hashOf(const std::string& text, const Plan& plan) {
    std::string all = text;
    for (const PlanInclude& include : plan.includes) {
        all += include.hash;
    }
    for (const fs::path& file : filesBesides(plan)) {
        std::ifstream stream(file, std::ios::binary);
        all += hashOf(std::string(std::istreambuf_iterator<char>(stream), {}));
    }
    return hashOf(all);
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
        for (const Problem& problem : problems) {
            complain(json, problem.file.empty() ? file : problem.file, problem.text, problem.line, problem.column);
        }
        for (const Problem& warning : plans.back().warnings) {
            complain(json, warning.file.empty() ? file : warning.file, warning.text, warning.line, warning.column,
                     true);
        }
        if (problems.empty()) {
            plans.back().hash = hashOf(text, plans.back());
        }
        good = good && problems.empty();
    }
    return good;
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
            if (fault.step.empty() || plan.hasStep(fault.step)) {
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

std::string noStep(const std::vector<Plan>& plans, const std::string& name) {
    std::vector<std::string> names;
    for (const Plan& plan : plans) {
        for (const Step& step : plan.steps) {
            names.push_back(step.name);
        }
    }
    const std::string near = nearest(name, names);
    return "no plan has a step " + display(name, 60) +
           (near.empty() ? "" : ", did you mean " + display(near, 60) + "?");
}

bool readExpected(bool json, const std::string& file, const std::vector<Plan>& plans,
                  std::vector<ExpectedFailure>& failures) {
    std::string text;
    if (file.empty()) {
        return true;
    }
    if (!readText(json, file, text)) {
        return false;
    }
    std::vector<Problem> problems;
    failures = parseExpected(text, problems);
    for (const ExpectedFailure& failure : failures) {
        if (std::none_of(plans.begin(), plans.end(), [&](const Plan& plan) { return plan.hasStep(failure.step); })) {
            problems.push_back({failure.line, 1, noStep(plans, failure.step)});
        }
    }
    for (const Problem& problem : problems) {
        complain(json, file, problem.text, problem.line, problem.column);
    }
    return problems.empty();
}

}  // namespace tool
