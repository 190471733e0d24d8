// SPDX-License-Identifier: Apache-2.0
// `fapi history`: what runs there were, and how two of them differ.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "base/table.h"
#include "base/terminal.h"
#include "record/history.h"
#include "report/verdict_banner.h"

namespace tool {

namespace {

// Shorter and smaller differences of a duration are chance.
constexpr double kNotableSeconds = 0.02;
constexpr double kNotablePart = 0.1;

std::string folderOf(const HistoryOptions& options) {
    return options.report.empty() ? kReportFolder : options.report;
}

HistoryEntry findRun(const std::vector<HistoryEntry>& entries, const std::string& word, const std::string& folder) {
    long long number = 0;
    if (word != "last" && !parseNumber(word, number)) {
        throw UsageError(display(word, 40) + ": expected the number of a run, or last");
    }
    const auto entry = std::find_if(entries.rbegin(), entries.rend(), [&](const HistoryEntry& candidate) {
        return word == "last" || candidate.id == number;
    });
    if (entry == entries.rend()) {
        throw UsageError("there is no run " + word + " in " + folder + "; fapi history lists them");
    }
    return *entry;
}

// Of a time without its zone.
constexpr std::size_t kTimeSize = 19;

// The column that goes first where there is no room is the one with the greatest number.
Table runTable() {
    return Table({{"no", Align::right},
                  {"when", Align::left, 1},
                  {"verdict"},
                  {"passed", Align::right, 4},
                  {"marginal", Align::right, 5},
                  {"failed", Align::right, 3},
                  {"not run", Align::right, 6},
                  {"seconds", Align::right, 2},
                  {"plan"}},
                 8);
}

const char* colorOfRun(const std::string& verdict) {
    for (const Verdict known : {Verdict::passed, Verdict::failed}) {
        if (verdict == verdictName(known)) {
            return colorOf(known);
        }
    }
    return colorOf(Verdict::marginal);
}

void addRun(Table& table, const HistoryEntry& entry) {
    char seconds[32];
    std::snprintf(seconds, sizeof(seconds), "%.3f", entry.seconds);
    table.add({{std::to_string(entry.id)},
               {entry.when.substr(0, kTimeSize)},
               {entry.verdict, usesColors() ? colorOfRun(entry.verdict) : ""},
               {std::to_string(entry.passed)},
               {std::to_string(entry.marginal)},
               {std::to_string(entry.failed)},
               {std::to_string(entry.notRun)},
               {seconds},
               {entry.plan + (entry.faults != 0 ? " (with faults)" : "")}});
}

bool isWanted(const HistoryEntry& entry, const HistoryOptions& options) {
    return entry.plan.find(options.plan) != std::string::npos &&
           (options.verdict.empty() || entry.verdict == options.verdict) && entry.when >= options.since;
}

void printSteps(const HistoryEntry& entry) {
    for (const HistoryStep& step : entry.steps) {
        std::fprintf(dataOutput(), "  %-11s  %9.3f  %s\n", printable(step.verdict).c_str(), step.seconds,
                     printable(step.name).c_str());
        for (const Measurement& measurement : step.measurements) {
            std::fprintf(dataOutput(), "  %24s%s = %lld\n", "", printable(measurement.name).c_str(), measurement.value);
        }
    }
}

// --- Comparison ------------------------------------------------------------------------------------------------------

struct Change {
    std::string step;
    std::string what;  // "verdict", "seconds", the name of a measurement, "new", "missing"
    Json before, after;
};

// Steps of one name are told apart by their order.
const HistoryStep* counterpart(const HistoryEntry& in, const HistoryEntry& of, std::size_t index) {
    const std::string& name = of.steps[index].name;
    const auto isOfName = [&](const HistoryStep& step) { return step.name == name; };
    auto order = std::count_if(of.steps.begin(), of.steps.begin() + static_cast<std::ptrdiff_t>(index), isOfName);
    for (const HistoryStep& step : in.steps) {
        if (isOfName(step) && order-- == 0) {
            return &step;
        }
    }
    return nullptr;
}

bool isNotable(double before, double after) {
    const double difference = std::fabs(after - before);
    return difference >= kNotableSeconds && difference >= kNotablePart * std::max(before, after);
}

Json valueIn(const HistoryStep& step, const std::string& name) {
    for (const Measurement& measurement : step.measurements) {
        if (measurement.name == name) {
            return measurement.value;
        }
    }
    return nullptr;
}

void compareSteps(const HistoryStep& before, const HistoryStep& after, std::vector<Change>& changes) {
    if (before.verdict != after.verdict) {
        changes.push_back({after.name, "verdict", before.verdict, after.verdict});
    }
    if (isNotable(before.seconds, after.seconds)) {
        changes.push_back({after.name, "seconds", before.seconds, after.seconds});
    }
    for (const Measurement& measurement : after.measurements) {
        const Json old = valueIn(before, measurement.name);
        if (old != Json(measurement.value)) {
            changes.push_back({after.name, measurement.name, old, measurement.value});
        }
    }
    for (const Measurement& measurement : before.measurements) {
        if (valueIn(after, measurement.name).is_null()) {
            changes.push_back({after.name, measurement.name, measurement.value, nullptr});
        }
    }
}

std::vector<Change> changesBetween(const HistoryEntry& before, const HistoryEntry& after) {
    std::vector<Change> changes;
    for (std::size_t i = 0; i < after.steps.size(); ++i) {
        const HistoryStep& step = after.steps[i];
        if (const HistoryStep* old = counterpart(before, after, i)) {
            compareSteps(*old, step, changes);
        } else {
            changes.push_back({step.name, "new", nullptr, step.verdict});
        }
    }
    for (std::size_t i = 0; i < before.steps.size(); ++i) {
        if (counterpart(after, before, i) == nullptr) {
            changes.push_back({before.steps[i].name, "missing", before.steps[i].verdict, nullptr});
        }
    }
    return changes;
}

std::string wordOf(const Json& value) {
    char text[32];
    if (value.is_number_float()) {
        std::snprintf(text, sizeof(text), "%.3f", value.get<double>());
        return text;
    }
    return value.is_string() ? value.get<std::string>() : value.is_null() ? "none" : jsonText(value, -1);
}

void printChange(const Change& change, bool json) {
    if (json) {
        printLine(jsonLine(
            {{"step", change.step}, {"what", change.what}, {"before", change.before}, {"after", change.after}}));
        return;
    }
    const bool isWhole = change.what == "new" || change.what == "missing";
    printLine("  " + printable(change.step + ": " + change.what +
                               (isWhole ? " (" + wordOf(change.before.is_null() ? change.after : change.before) + ")"
                                        : " " + wordOf(change.before) + " -> " + wordOf(change.after))));
}

}  // namespace

int listHistory(const HistoryOptions& options) {
    const std::vector<HistoryEntry> entries = RunHistory(folderOf(options)).entries();
    if (entries.empty()) {
        printMessage(folderOf(options) + ": no runs");
        return kExitGood;
    }
    Table table = runTable();
    for (const HistoryEntry& entry : entries) {
        if (!isWanted(entry, options)) {
            continue;
        }
        options.json ? printLine(jsonLine(toJson(entry))) : addRun(table, entry);
    }
    if (!options.json) {
        table.print();
    }
    return kExitGood;
}

int showHistory(const HistoryOptions& options) {
    const std::string folder = folderOf(options);
    const HistoryEntry entry = findRun(RunHistory(folder).entries(), options.runs.at(0), folder);
    if (options.json) {
        printLine(jsonLine(toJson(entry)));
        return kExitGood;
    }
    Table table = runTable();
    addRun(table, entry);
    table.print();
    printLine("report: " + printable(folder + "/" + entry.report));
    printSteps(entry);
    return kExitGood;
}

int compareHistory(const HistoryOptions& options) {
    const std::string folder = folderOf(options);
    const std::vector<HistoryEntry> entries = RunHistory(folder).entries();
    const HistoryEntry before = findRun(entries, options.runs.at(0), folder);
    const HistoryEntry after = findRun(entries, options.runs.at(1), folder);
    const std::vector<Change> changes = changesBetween(before, after);
    if (!options.json) {
        Table table = runTable();
        addRun(table, before);
        addRun(table, after);
        table.print();
    }
    for (const Change& change : changes) {
        printChange(change, options.json);
    }
    if (options.json) {
        printLine(jsonLine({{"before", before.id}, {"after", after.id}, {"differences", changes.size()}}));
    } else if (changes.empty()) {
        printLine("  no differences");
    }
    return kExitGood;
}

}  // namespace tool
