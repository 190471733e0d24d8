// SPDX-License-Identifier: Apache-2.0
// `fapi stats`: figures of a line, on the terminal and for other programs.
#include <algorithm>
#include <cstdio>

#include "base/table.h"
#include "base/terminal.h"
#include "cli/results.h"
#include "record/run_export.h"
#include "report/html.h"
#include "report/stats_page.h"
#include "target/output.h"

namespace tool {

namespace {

constexpr std::size_t kBarColumns = 40;
constexpr std::size_t kShownSteps = 10;
constexpr std::size_t kShownParts = 16;  // of a histogram

Json jsonOfFigure(const std::optional<double>& figure) {
    return figure ? Json(*figure) : Json(nullptr);
}

Json yieldJson(const Yield& yield) {
    return {{"units", yield.units}, {"good", yield.good}};
}

Json seriesJson(const Series& series) {
    const Spread spread = spreadOf(series);
    return {{"name", series.name},
            {"unit", series.unit},
            {"low", jsonOfFigure(series.low)},
            {"high", jsonOfFigure(series.high)},
            {"count", spread.count},
            {"outside", spread.outside},
            {"mean", spread.mean},
            {"deviation", jsonOfFigure(spread.deviation)},
            {"least", spread.least},
            {"most", spread.most},
            {"cp", jsonOfFigure(spread.cp)},
            {"cpk", jsonOfFigure(spread.cpk)},
            {"low_control", jsonOfFigure(spread.lowControl)},
            {"high_control", jsonOfFigure(spread.highControl)},
            {"beyond_control", spread.beyondControl},
            {"drift", spread.drift.empty() ? Json(nullptr) : Json(spread.drift)}};
}

Json statisticsJson(const LineStatistics& statistics) {
    Json json = {{"verdicts", Json::object()},           {"first_pass", yieldJson(statistics.firstPass)},
                 {"final", yieldJson(statistics.final)}, {"without_unit", statistics.withoutUnit},
                 {"failing_steps", Json::array()},       {"steps", Json::array()},
                 {"measurements", Json::array()}};
    for (const Counted& row : statistics.verdicts) {
        json["verdicts"][row.name] = row.count;
    }
    for (const Counted& row : statistics.failing) {
        json["failing_steps"].push_back({{"step", row.name}, {"runs", row.count}});
    }
    for (const StepTime& row : statistics.steps) {
        json["steps"].push_back({{"step", row.name},
                                 {"count", row.count},
                                 {"mean", row.mean},
                                 {"shortest", row.shortest},
                                 {"longest", row.longest}});
    }
    for (const Series& series : statistics.series) {
        json["measurements"].push_back(seriesJson(series));
    }
    return json;
}

// --- The terminal ----------------------------------------------------------------------------------------------------

std::string bar(std::size_t count, std::size_t most) {
    const std::size_t eighths = most == 0 ? 0 : (count * kBarColumns * 8 + most - 1) / most;
    static constexpr const char* kParts[] = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
    std::string text;
    for (std::size_t i = 0; i < eighths / 8; ++i) {
        text += "█";
    }
    return text + kParts[eighths % 8];
}

void printCounts(const LineStatistics& statistics) {
    for (const Counted& row : statistics.verdicts) {
        printLine(std::to_string(row.count) + " " + printable(row.name));
    }
    printLine("first-pass yield: " + yieldText(statistics.firstPass));
    printLine("final yield: " + yieldText(statistics.final));
    if (statistics.withoutUnit != 0) {
        printLine(std::to_string(statistics.withoutUnit) + " judged runs name no unit and are in no yield");
    }
}

void printFailing(const std::vector<Counted>& failing) {
    if (failing.empty()) {
        return;
    }
    Table table({{"failed", Align::right}, {"", Align::left, 1}, {"step"}}, 2);
    for (std::size_t i = 0; i < std::min(kShownSteps, failing.size()); ++i) {
        table.add({{std::to_string(failing[i].count)},
                   {bar(static_cast<std::size_t>(failing[i].count), static_cast<std::size_t>(failing[0].count))},
                   {failing[i].name}});
    }
    table.print();
}

void printTimes(const std::vector<StepTime>& steps) {
    Table table({{"times", Align::right, 3},
                 {"mean", Align::right},
                 {"shortest", Align::right, 2},
                 {"longest", Align::right, 1},
                 {"step"}},
                4);
    for (std::size_t i = 0; i < std::min(kShownSteps, steps.size()); ++i) {
        table.add({{std::to_string(steps[i].count)},
                   {durationText(steps[i].mean)},
                   {durationText(steps[i].shortest)},
                   {durationText(steps[i].longest)},
                   {steps[i].name}});
    }
    table.print();
}

void printSeriesTable(const std::vector<Series>& all) {
    Table table({{"values", Align::right},
                 {"mean", Align::right},
                 {"deviation", Align::right, 5},
                 {"low", Align::right, 3},
                 {"high", Align::right, 3},
                 {"outside", Align::right, 4},
                 {"Cp", Align::right, 1},
                 {"Cpk", Align::right},
                 {"unit", Align::left, 2},
                 {"measurement"}},
                9);
    for (const Series& series : all) {
        const Spread spread = spreadOf(series);
        table.add({{std::to_string(spread.count)},
                   {figureText(spread.mean)},
                   {figureText(spread.deviation)},
                   {figureText(series.low)},
                   {figureText(series.high)},
                   {std::to_string(spread.outside)},
                   {capabilityText(spread, series, spread.cp)},
                   {capabilityText(spread, series, spread.cpk)},
                   {series.unit},
                   {series.name}});
    }
    table.print();
    for (const Series& series : all) {
        if (const std::string drift = spreadOf(series).drift; !drift.empty()) {
            printLine("drift: " + printable(series.name) + ": " + drift);
        }
    }
    printLine(std::string("Drift is ") + kDriftRule + ".");
}

// A row of the control chart: where the value lies between the least and the most that is drawn.
void printControl(const Series& series, const Spread& spread) {
    constexpr std::size_t kRows = 40, kColumns = 60;
    const double low = std::min(spread.least, spread.lowControl.value_or(spread.least));
    const double high = std::max(spread.most, spread.highControl.value_or(spread.most));
    const auto columnOf = [&](double value) {
        return high > low ? static_cast<std::size_t>((value - low) / (high - low) * (kColumns - 1)) : 0;
    };
    std::string empty(kColumns, ' ');
    empty[columnOf(spread.mean)] = ':';
    for (const std::optional<double>& limit : {spread.lowControl, spread.highControl}) {
        if (limit) {
            empty[columnOf(*limit)] = '|';
        }
    }
    const std::size_t first = series.values.size() - std::min(kRows, series.values.size());
    printLine("last " + std::to_string(series.values.size() - first) + " values, mean : and limits of control |");
    for (std::size_t i = first; i < series.values.size(); ++i) {
        std::string row = empty;
        row[columnOf(series.values[i])] = '*';
        printLine(row + "  " + figureText(series.values[i]));
    }
}

void printSeries(const Series& series) {
    const Spread spread = spreadOf(series);
    const Histogram histogram = histogramOf(series, kShownParts);
    const std::size_t most = *std::max_element(histogram.counts.begin(), histogram.counts.end());
    const double width = (histogram.high - histogram.low) / kShownParts;
    Table table({{"from", Align::right}, {"values", Align::right}, {""}}, 2);
    for (std::size_t i = 0; i < kShownParts; ++i) {
        table.add({{figureText(histogram.low + width * static_cast<double>(i))},
                   {std::to_string(histogram.counts[i])},
                   {bar(histogram.counts[i], most)}});
    }
    table.print();
    printControl(series, spread);
}

void printText(const LineStatistics& statistics, bool isDetailed) {
    printCounts(statistics);
    printFailing(statistics.failing);
    if (!isDetailed) {
        printTimes(statistics.steps);
    }
    if (statistics.series.empty()) {
        printLine(isDetailed ? "no such measurement" : "no measurements");
        return;
    }
    printSeriesTable(statistics.series);
    for (const Series& series : isDetailed ? statistics.series : std::vector<Series>()) {
        printSeries(series);
    }
}

void printCsv(const LineStatistics& statistics) {
    std::fputs(
        "name,unit,low,high,count,outside,mean,deviation,least,most,cp,cpk,low_control,high_control,"
        "beyond_control,drift\r\n",
        dataOutput());
    for (const Series& series : statistics.series) {
        const Json row = seriesJson(series);
        std::string line;
        for (const auto& [name, value] : row.items()) {
            const std::string field = value.is_string()         ? csvField(value.get<std::string>())
                                      : value.is_number_float() ? exactNumber(value.get<double>())
                                      : value.is_null()         ? ""
                                                                : value.dump();
            line += (line.empty() ? "" : ",") + field;
        }
        std::fputs((line + "\r\n").c_str(), dataOutput());
    }
}

}  // namespace

int printStatistics(const ResultsOptions& options) {
    const std::unique_ptr<Database> database = options.open();
    if (database == nullptr) {
        return kExitGood;
    }
    const LineStatistics statistics = lineStatistics(*database, options.filter, options.measurement);
    if (options.json) {
        printLine(jsonLine(statisticsJson(statistics)));
    } else if (options.format.empty() || options.format == "text") {
        printText(statistics, !options.measurement.empty());
    } else if (options.format == "csv") {
        printCsv(statistics);
    } else if (options.format == "html") {
        printLine(statisticsPage(statistics, database->name()));
    } else {
        throw UsageError("--format is " + display(options.format, 40) + ", expected text, csv or html");
    }
    return kExitGood;
}

}  // namespace tool
