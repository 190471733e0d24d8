// SPDX-License-Identifier: Apache-2.0
// `fapi history`: which runs there were, and how two of them differ.
#include <algorithm>
#include <cstdio>

#include "base/table.h"
#include "base/terminal.h"
#include "cli/results.h"
#include "protocol/characters.h"
#include "record/identity.h"
#include "record/run_comparison.h"
#include "record/run_export.h"
#include "record/run_json.h"
#include "report/verdict_banner.h"
#include "target/output.h"

namespace tool {

namespace {

// What the terminal gets of a long text.
constexpr std::size_t kShownText = 200;

// Of a time without its zone.
constexpr std::size_t kTimeSize = 19;

// The column that goes first where there is no room is the one with the greatest number.
Table runTable() {
    return Table({{"no", Align::right},
                  {"when", Align::left, 1},
                  {"verdict"},
                  {"unit", Align::left, 2},
                  {"passed", Align::right, 5},
                  {"marginal", Align::right, 6},
                  {"failed", Align::right, 4},
                  {"not run", Align::right, 7},
                  {"skipped", Align::right, 7},
                  {"seconds", Align::right, 3},
                  {"station", Align::left, 8},
                  {"plan"}},
                 11);
}

const char* colorOfRun(const std::string& verdict) {
    for (const Verdict known : {Verdict::passed, Verdict::failed}) {
        if (verdict == verdictName(known)) {
            return colorOf(known);
        }
    }
    return colorOf(Verdict::marginal);
}

std::string secondsText(double seconds) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.3f", seconds);
    return text;
}

void addRun(Table& table, const RunRecord& run) {
    const std::string verdict = run.verdict.value_or("unfinished");
    table.add({{std::to_string(run.number)},
               {localText(run.began, run.utcOffset).substr(0, kTimeSize)},
               {verdict, usesColors() ? colorOfRun(verdict) : ""},
               {run.unit.value_or("")},
               {std::to_string(run.passed)},
               {std::to_string(run.marginal)},
               {std::to_string(run.failed)},
               {std::to_string(run.notRun)},
               {std::to_string(run.skipped)},
               {secondsText(run.seconds)},
               {run.station},
               {run.plan + (run.faults != 0 ? " (with faults)" : "")}});
}

std::string numberText(double value) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.10g", value);
    return text;
}

std::string valueText(const MeasurementRecord& row) {
    const std::string value = row.value ? numberText(*row.value) : row.text.value_or("");
    const bool isList = row.value && row.text;
    return (isList ? *row.text + ", nearest to a limit by " : "") + value + (row.unit.empty() ? "" : " " + row.unit);
}

std::string limitsText(const MeasurementRecord& row) {
    if ((!row.low && !row.high) || (row.value && row.text)) {
        return "";
    }
    return " in " + (row.low ? numberText(*row.low) : "") + ".." + (row.high ? numberText(*row.high) : "");
}

void printSteps(const WholeRun& run) {
    for (const StepRecord& step : run.parts.steps) {
        std::fprintf(dataOutput(), "  %-11s  %9.3f  %s\n", printable(step.verdict).c_str(), step.seconds,
                     printable(step.name).c_str());
        for (const MeasurementRecord& row : finalOf(run, step.number)) {
            std::fprintf(dataOutput(), "  %24s%s = %s%s\n", "", printable(row.name).c_str(),
                         printable(beginningOf(valueText(row), kShownText)).c_str(), limitsText(row).c_str());
        }
    }
}

std::string wordOf(const Json& value, const std::string& what) {
    if (value.is_number()) {
        return what == "seconds" ? secondsText(value.get<double>()) : numberText(value.get<double>());
    }
    return value.is_string() ? beginningOf(value.get<std::string>(), kShownText) : "none";
}

void printChange(const Change& change, bool json) {
    if (json) {
        printLine(jsonLine(
            {{"step", change.step}, {"what", change.what}, {"before", change.before}, {"after", change.after}}));
        return;
    }
    const bool isWhole = change.what == "new" || change.what == "missing";
    const std::string before = wordOf(change.before, change.what), after = wordOf(change.after, change.what);
    printLine("  " + printable(change.step + ": " + change.what +
                               (isWhole ? " (" + (change.before.is_null() ? after : before) + ")"
                                        : " " + before + " -> " + after)));
}

}  // namespace

int listHistory(const ResultsOptions& options) {
    const std::unique_ptr<Database> database = options.open();
    if (database == nullptr) {
        return kExitGood;
    }
    Table table = runTable();
    forEachRun(*database, options.filter,
               [&](const RunRecord& run) { options.json ? printLine(jsonLine(runJson(run))) : addRun(table, run); });
    if (!options.json) {
        table.print();
    }
    return kExitGood;
}

static WholeRun namedRun(Database* database, const std::string& word) {
    if (database == nullptr) {
        throw UsageError("there is no run " + display(word, 40));
    }
    return wholeRun(*database, findRun(*database, word));
}

int showHistory(const ResultsOptions& options) {
    const WholeRun run = namedRun(options.open().get(), options.runs.at(0));
    if (options.json) {
        printLine(jsonLine(runJson(run)));
        return kExitGood;
    }
    Table table = runTable();
    addRun(table, run.run);
    table.print();
    printLine("id: " + run.run.id);
    printLine("report: " + printable(options.folder() + "/" + run.run.report));
    if (!run.run.why.empty()) {
        printLine(printable(run.run.decidingStep + ": " + beginningOf(run.run.why, kShownText)));
    }
    printSteps(run);
    return kExitGood;
}

int compareHistory(const ResultsOptions& options) {
    const std::unique_ptr<Database> database = options.open();
    const WholeRun before = namedRun(database.get(), options.runs.at(0));
    const WholeRun after = namedRun(database.get(), options.runs.at(1));
    const std::vector<Change> changes = changesBetween(before, after);
    if (!options.json) {
        Table table = runTable();
        addRun(table, before.run);
        addRun(table, after.run);
        table.print();
    }
    for (const Change& change : changes) {
        printChange(change, options.json);
    }
    if (options.json) {
        printLine(
            jsonLine({{"before", before.run.number}, {"after", after.run.number}, {"differences", changes.size()}}));
    } else if (changes.empty()) {
        printLine("  no differences");
    }
    return kExitGood;
}

int exportHistory(const ResultsOptions& options) {
    const std::unique_ptr<Database> database = options.open();
    if (database == nullptr) {
        return kExitGood;
    }
    const ExportFormat* format = findExportFormat(options.format);
    if (format == nullptr) {
        throw UsageError("--format is " + display(options.format, 40) + ", expected " + exportFormatNames());
    }
    exportRuns(*database, options.filter, *format, dataOutput());
    return kExitGood;
}

std::vector<std::string> runNames(const std::string& folder) {
    std::vector<std::string> names = {"last"};
    if (const std::unique_ptr<Database> database = openResults("", folder)) {
        forEachRun(*database, {}, [&](const RunRecord& run) { names.push_back(std::to_string(run.number)); });
    }
    return names;
}

}  // namespace tool
