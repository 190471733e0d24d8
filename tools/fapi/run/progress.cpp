// SPDX-License-Identifier: Apache-2.0
// A run as a person watches it.
#include <algorithm>
#include <cstdio>

#include "base/table.h"
#include "base/terminal.h"
#include "operator/operator.h"
#include "protocol/characters.h"
#include "report/report.h"
#include "report/verdict_banner.h"
#include "run/progress.h"

namespace tool {

namespace {

// Of a longer plan the table shows only what did not pass.
constexpr std::size_t kWholeTable = 200;
// What is shown of a text; the reports have more.
constexpr std::size_t kShown = 4096;
constexpr std::size_t kShownRefusals = 5;

std::string coloured(Verdict verdict) {
    const std::string name = verdictName(verdict);
    return usesColors() ? colorOf(verdict) + name + kColorsOff : name;
}

std::string shownName(const Plan& plan, std::size_t step) {
    return printable(beginningOf(plan.nameAt(step), kShown));
}

// " (with 2 faults)"
std::string faultsText(const Plan& plan) {
    return plan.faults.empty()
               ? ""
               : " (with " + std::to_string(plan.faults.size()) + (plan.faults.size() == 1 ? " fault)" : " faults)");
}

// Those that the step's text has not named already.
void printRefusals(const StepResult& result) {
    std::size_t others = 0;
    for (const Json& refusal : result.refusals()) {
        const auto text = refusal["text"].get<std::string>();
        if (result.text().find(text) == std::string::npos && ++others <= kShownRefusals) {
            printLine("         " + printable(beginningOf(text, kShown)));
        }
    }
    if (others > kShownRefusals) {
        printLine("         and " + std::to_string(others - kShownRefusals) + " more refused calls");
    }
}

}  // namespace

Progress::Progress(const Plan& plan, Shows shows)
    : _plan(plan),
      _quiet(shows == Shows::nothing),
      _json(shows == Shows::json),
      _terminal(shows == Shows::lines && isTerminal()) {
    if (shows == Shows::lines) {
        printLine(printable(plan.name) + faultsText(plan));
    }
}

void Progress::resume(std::size_t step) const {
    const std::string name = step < _plan.size() ? _plan.nameAt(step) : "";
    printLine(_json          ? jsonLine({{"resumed", name}})
              : name.empty() ? "resumed: every step has ended"
                             : "resumed at step " + std::to_string(step + 1) + ": " + printable(name));
}

void Progress::begin(std::size_t step, std::size_t attempt) {
    _step = step;
    _attempt = attempt;
    _start = Clock::now();
    if (_announcement != nullptr) {
        _announcement->begin(step, attempt);
    }
    refresh();
}

// "  3/46  "
std::string Progress::place(std::size_t step) const {
    char text[48];
    std::snprintf(text, sizeof(text), "%3zu/%zu  ", step + 1, _plan.size());
    return text;
}

// No wider than the terminal: a line that has gone on below cannot be erased.
void Progress::refresh() const {
    if (_announcement != nullptr) {
        _announcement->flush();
    }
    if (_attempt == 0 || !_terminal || isQuestionShown()) {
        return;
    }
    char time[32];
    std::snprintf(time, sizeof(time), "  %.1f s", std::chrono::duration<double>(Clock::now() - _start).count());
    const std::string before = place(_step);
    const std::string behind = (_attempt > 1 ? "  (attempt " + std::to_string(_attempt) + ")" : "") + time;
    const std::size_t columns = terminalColumns() - 1, taken = before.size() + behind.size();
    const std::string name = cutToColumns(shownName(_plan, _step), columns - std::min(columns, taken));
    eraseLine();
    std::fputs(cutToColumns(before + name + behind, columns).c_str(), dataOutput());
    std::fflush(dataOutput());
}

void Progress::end(std::size_t step, const StepResult& result) {
    _attempt = 0;
    if (_announcement != nullptr) {
        _announcement->end(result);
    }
    if (_atEndOfStep) {
        _atEndOfStep(step, result);
    }
    if (_quiet) {
        return;
    }
    if (_json) {
        printLine(jsonLine({{"step", _plan.nameAt(step)},
                            {"verdict", verdictName(result.verdict())},
                            {"text", result.text()},
                            {"attempts", result.attempts.size()},
                            {"seconds", result.seconds()}}));
        return;
    }
    if (_terminal) {
        eraseLine();
    }
    printLine(place(step) + shownName(_plan, step) + ": " + coloured(result.verdict()));
    if (const std::string text = result.text(); !text.empty()) {
        printLine("         " + printable(beginningOf(text, kShown)));
    }
    printRefusals(result);
}

void Progress::finish(const PlanResult& result) const {
    if (_json) {
        return;
    }
    Table table(
        {{"no", Align::right}, {"step"}, {"verdict"}, {"attempts", Align::right, 1}, {"seconds", Align::right, 2}}, 1);
    const bool whole = result.steps.size() <= kWholeTable;
    for (std::size_t i = 0; i < result.steps.size(); ++i) {
        const StepResult& step = result.steps[i];
        if (!whole && (step.verdict() == Verdict::passed || (step.verdict() == Verdict::notRun && i >= kWholeTable))) {
            continue;
        }
        char seconds[32];
        std::snprintf(seconds, sizeof(seconds), "%.3f", step.seconds());
        table.add({{std::to_string(i + 1)},
                   {_plan.nameAt(i)},
                   {verdictName(step.verdict()), usesColors() ? colorOf(step.verdict()) : ""},
                   {std::to_string(step.attempts.size())},
                   {seconds}});
    }
    printLine("");
    table.print();
}

void Progress::conclude(const PlanResult& result, const std::vector<std::string>& reports) const {
    if (_announcement != nullptr) {
        _announcement->conclude(result);
    }
    const RunCounts counts(result);
    if (_json) {
        printLine(jsonLine({{"plan", _plan.name},
                            {"verdict", verdictName(result.verdict())},
                            {"good", result.isGood()},
                            {"passed", counts.passed},
                            {"marginal", counts.marginal},
                            {"failed", counts.failed},
                            {"errors", counts.errors},
                            {"interrupted", counts.interrupted},
                            {"not_run", counts.notRun},
                            {"skipped", counts.skipped},
                            {"seconds", result.seconds},
                            {"faults", _plan.faults.size()},
                            {"notes", result.notes()},
                            {"run", result.record != nullptr ? result.record->id : ""},
                            {"unit", result.record != nullptr ? result.record->unit.value_or("") : ""},
                            {"waived", result.waiver()},
                            {"unexpected", result.unexpected()},
                            {"reports", reports}}));
        return;
    }
    char seconds[32];
    std::snprintf(seconds, sizeof(seconds), "%.1f s", result.seconds);
    const auto some = [](std::size_t count, const char* what) {
        return count != 0 ? std::to_string(count) + what : std::string();
    };
    printLine("plan \"" + printable(_plan.name) + "\"" + faultsText(_plan) + ": " + std::to_string(counts.passed) +
              " passed, " + std::to_string(counts.marginal) + " marginal, " + std::to_string(counts.failed) +
              " failed, " + some(counts.errors, " with an error of the station, ") +
              some(counts.interrupted, " interrupted, ") + some(counts.skipped, " skipped, ") +
              std::to_string(counts.notRun) + " not run in " + seconds);
    if (result.record != nullptr && result.record->unit) {
        printLine("unit: " + printable(*result.record->unit));
    }
    for (const std::string& file : reports) {
        printLine("report: " + printable(file));
    }
    for (const std::string& line : result.unexpected()) {
        printLine("not as expected: " + printable(beginningOf(line, kShown)));
    }
    if (const std::string waiver = result.waiver(); !result.expected.empty() && !waiver.empty()) {
        printLine(printable(beginningOf(waiver, kShown)));
        printVerdict(Verdict::passed);
        return;
    }
    if (const std::string waiver = result.waiver(); !waiver.empty()) {
        printLine("waived: " + printable(beginningOf(waiver, kShown)));
        printWaived();
        return;
    }
    printVerdict(result.verdict());
}

}  // namespace tool
