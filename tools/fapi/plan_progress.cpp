// SPDX-License-Identifier: Apache-2.0
// A run as a person watches it.
#include <algorithm>
#include <cstdio>

#include "plan_report.h"
#include "terminal.h"

namespace tool {

namespace {

// Of a longer plan the table shows only what did not pass.
constexpr std::size_t kWholeTable = 200;
constexpr std::size_t kWidestName = 60;
// Of the rewritten line, beside the step's name.
constexpr std::size_t kRest = kNarrow;

const char* colour(Verdict verdict) {
    return verdict == Verdict::passed                                                            ? "\033[32m"
           : verdict == Verdict::failed || verdict == Verdict::error || verdict == Verdict::died ? "\033[31m"
                                                                                                 : "\033[33m";
}

std::string coloured(Verdict verdict, bool terminal) {
    const std::string name = verdictName(verdict);
    return terminal ? colour(verdict) + name + "\033[0m" : name;
}

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// How many columns a text of UTF-8 takes, as far as one can tell without a table of all characters.
std::size_t columnsOf(const std::string& text) {
    return text.size() - static_cast<std::size_t>(std::count_if(text.begin(), text.end(), continuesCharacter));
}

std::string cut(std::string text, std::size_t columns) {
    while (columnsOf(text) > columns) {
        while (continuesCharacter(text.back())) {
            text.pop_back();
        }
        text.pop_back();
    }
    return text;
}

std::string padded(const std::string& text, std::size_t columns) {
    return text + std::string(columns - std::min(columns, columnsOf(text)), ' ');
}

// " (with 2 faults)"
std::string faultsText(const Plan& plan) {
    return plan.faults.empty()
               ? ""
               : " (with " + std::to_string(plan.faults.size()) + (plan.faults.size() == 1 ? " fault)" : " faults)");
}

}  // namespace

Progress::Progress(const Plan& plan, bool json) : _plan(plan), _json(json), _terminal(!json && isTerminal()) {
    if (!_json) {
        std::fprintf(dataOutput(), "%s%s\n", printable(plan.name).c_str(), faultsText(plan).c_str());
    }
}

void Progress::resume(std::size_t step) const {
    const std::string name = step < _plan.steps.size() ? _plan.steps[step].name : "";
    printLine(_json          ? jsonLine({{"resumed", name}})
              : name.empty() ? "resumed: every step has ended"
                             : "resumed at step " + std::to_string(step + 1) + ": " + printable(name));
}

void Progress::begin(std::size_t step, std::size_t attempt) {
    _step = step;
    _attempt = attempt;
    _start = Clock::now();
    if (_terminal) {
        refresh();
    }
}

void Progress::refresh() const {
    if (_attempt == 0) {
        return;
    }
    eraseLine();
    std::fprintf(dataOutput(), "%3zu/%zu  %s", _step + 1, _plan.steps.size(),
                 cut(printable(_plan.steps[_step].name), terminalColumns() - kRest).c_str());
    if (_attempt > 1) {
        std::fprintf(dataOutput(), "  (attempt %zu)", _attempt);
    }
    std::fprintf(dataOutput(), "  %.1f s", std::chrono::duration<double>(Clock::now() - _start).count());
    std::fflush(dataOutput());
}

void Progress::end(std::size_t step, const StepResult& result) {
    _attempt = 0;
    if (_json) {
        const Json json = {{"step", _plan.steps[step].name},
                           {"verdict", verdictName(result.verdict())},
                           {"text", result.text()},
                           {"attempts", result.attempts.size()},
                           {"seconds", result.seconds()}};
        std::fprintf(dataOutput(), "%s\n", jsonLine(json).c_str());
        return;
    }
    if (_terminal) {
        eraseLine();
    }
    std::fprintf(dataOutput(), "%3zu/%zu  %s: %s\n", step + 1, _plan.steps.size(),
                 printable(_plan.steps[step].name).c_str(), coloured(result.verdict(), _terminal).c_str());
    if (const std::string text = result.text(); !text.empty()) {
        std::fprintf(dataOutput(), "         %s\n", printable(text).c_str());
    }
}

void Progress::finish(const PlanResult& result) const {
    if (_json) {
        return;
    }
    std::size_t width = 4;
    for (const Step& step : _plan.steps) {
        width = std::max(width, columnsOf(step.name));
    }
    width = std::min(width, kWidestName);
    std::fprintf(dataOutput(), "\n  no  %s  verdict      attempts  seconds\n", padded("step", width).c_str());
    const bool whole = result.steps.size() <= kWholeTable;
    for (std::size_t i = 0; i < result.steps.size(); ++i) {
        const StepResult& step = result.steps[i];
        if (!whole && step.verdict() == Verdict::passed) {
            continue;
        }
        const std::string name = cut(printable(_plan.steps[i].name), width);
        const std::size_t blanks = 11 - std::string(verdictName(step.verdict())).size();
        std::fprintf(dataOutput(), "%4zu  %s  %s%s  %8zu  %7.3f\n", i + 1, padded(name, width).c_str(),
                     coloured(step.verdict(), _terminal).c_str(), std::string(blanks, ' ').c_str(),
                     step.attempts.size(), step.seconds());
    }
}

void Progress::conclude(const PlanResult& result, const std::vector<std::string>& reports) const {
    // Who died or was interrupted has failed.
    const std::size_t passed = result.count(Verdict::passed), marginal = result.count(Verdict::marginal);
    const std::size_t notRun = result.count(Verdict::notRun);
    const std::size_t errors = result.count(Verdict::error);
    const std::size_t failed = result.steps.size() - passed - marginal - errors - notRun;
    if (_json) {
        printLine(jsonLine({{"plan", _plan.name},
                            {"good", result.isGood()},
                            {"verdict", verdictName(result.verdict())},
                            {"passed", passed},
                            {"marginal", marginal},
                            {"failed", failed},
                            {"errors", errors},
                            {"not_run", notRun},
                            {"seconds", result.seconds},
                            {"faults", _plan.faults.size()},
                            {"notes", result.notes()},
                            {"reports", reports}}));
        return;
    }
    char counts[160];
    std::snprintf(counts, sizeof(counts), "%zu passed, %zu marginal, %zu failed, %s%zu not run in %.1f s", passed,
                  marginal, failed,
                  errors != 0 ? (std::to_string(errors) + " with an error of the station, ").c_str() : "", notRun,
                  result.seconds);
    std::string line = "plan \"" + printable(_plan.name) + "\"" + faultsText(_plan) + ": " + counts;
    for (const std::string& file : reports) {
        line += (&file == &reports.front() ? "; report: " : ", ") + file;
    }
    printLine(line);
}

}  // namespace tool
