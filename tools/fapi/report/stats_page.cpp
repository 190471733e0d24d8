// SPDX-License-Identifier: Apache-2.0
// Figures of a line as a page of its own.
#include "report/stats_page.h"

#include <cstdio>
#include <sstream>

#include "report/charts.h"
#include "report/style.h"

namespace tool {

namespace {

// Charts of more would take a browser long.
constexpr std::size_t kCharts = 200;
constexpr std::size_t kBars = 24;

Html addTable(Html parent, const std::vector<const char*>& titles) {
    Html table = parent.add("table", "list");
    Html row = table.add("thead").add("tr");
    for (const char* title : titles) {
        row.add("th", "", title);
    }
    return table.add("tbody");
}

Html addRow(Html body, const std::vector<std::string>& cells) {
    Html row = body.add("tr");
    for (const std::string& cell : cells) {
        row.add("td", "", cell);
    }
    return row;
}

void addCounts(Html body, const LineStatistics& statistics) {
    body.add("h2", "", "Runs");
    Html verdicts = addTable(body, {"verdict", "runs"});
    for (const Counted& row : statistics.verdicts) {
        addRow(verdicts, {row.name, std::to_string(row.count)});
    }
    addRow(verdicts, {"first-pass yield", yieldText(statistics.firstPass)});
    addRow(verdicts, {"final yield", yieldText(statistics.final)});
    addRow(verdicts, {"judged runs that name no unit", std::to_string(statistics.withoutUnit)});
    body.add("h2", "", "Failing steps");
    Html failing = addTable(body, {"step", "failed runs", "share"});
    const long long most = statistics.failing.empty() ? 1 : statistics.failing[0].count;
    for (const Counted& row : statistics.failing) {
        Html line = addRow(failing, {row.name, std::to_string(row.count)});
        drawPart(line.add("td", "bar v-failed"), static_cast<double>(row.count) / static_cast<double>(most));
    }
    body.add("h2", "", "Time of steps");
    Html steps = addTable(body, {"step", "times", "mean", "shortest", "longest"});
    for (const StepTime& row : statistics.steps) {
        addRow(steps, {row.name, std::to_string(row.count), durationText(row.mean), durationText(row.shortest),
                       durationText(row.longest)});
    }
}

// The values, with mean and limits of control as lines.
Json controlData(const Series& series, const Spread& spread) {
    Json data = {{"name", "control chart of " + series.name}, {"series", Json::array()}};
    const auto addLevel = [&](const char* name, const std::optional<double>& level) {
        if (level) {
            data["series"].push_back({{"name", name}, {"values", std::vector<double>(series.values.size(), *level)}});
        }
    };
    data["series"].push_back({{"name", "value"}, {"values", series.values}});
    addLevel("mean", spread.mean);
    addLevel("lower control limit", spread.lowControl);
    addLevel("upper control limit", spread.highControl);
    return data;
}

void addSeries(Html body, const Series& series) {
    const Spread spread = spreadOf(series);
    Html section = body.add("section", "step");
    section.add("h3", "", series.name + (series.unit.empty() ? "" : ", " + series.unit));
    Html table = addTable(section, {"values", "mean", "deviation", "least", "most", "limits", "outside", "Cp", "Cpk"});
    addRow(table, {std::to_string(spread.count), figureText(spread.mean), figureText(spread.deviation),
                   figureText(spread.least), figureText(spread.most),
                   figureText(series.low) + " .. " + figureText(series.high), std::to_string(spread.outside),
                   capabilityText(spread, series, spread.cp), capabilityText(spread, series, spread.cpk)});
    if (!spread.drift.empty()) {
        section.add("p", "", "Drift: " + spread.drift + ". The rule: " + kDriftRule + ".");
    }
    if (spread.beyondControl != 0) {
        section.add("p", "", std::to_string(spread.beyondControl) + " values lie beyond the limits of control.");
    }
    if (spread.count > 1) {
        drawHistogram(section, histogramOf(series, kBars).counts, figureText(spread.least), figureText(spread.most));
        drawData(section, controlData(series, spread));
    }
}

void addStatistics(Html body, const LineStatistics& statistics) {
    addCounts(body, statistics);
    body.add("h2", "", "Measurements");
    if (statistics.series.size() > kCharts) {
        body.add("p", "",
                 "The first " + std::to_string(kCharts) + " of " + std::to_string(statistics.series.size()) +
                     "; --measurement shows one.");
    }
    for (std::size_t i = 0; i < std::min(kCharts, statistics.series.size()); ++i) {
        addSeries(body, statistics.series[i]);
    }
}

std::string textOf(const pugi::xml_document& document) {
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration);
    return text.str();
}

}  // namespace

std::string yieldText(const Yield& yield) {
    if (yield.units == 0) {
        return "too few: no unit";
    }
    char text[96];
    std::snprintf(text, sizeof(text), "%.1f %% (%lld of %lld)",
                  100 * static_cast<double>(yield.good) / static_cast<double>(yield.units), yield.good, yield.units);
    return text;
}

std::string figureText(const std::optional<double>& figure) {
    if (!figure) {
        return "";
    }
    char text[40];
    std::snprintf(text, sizeof(text), "%.6g", *figure);
    return text;
}

std::string capabilityText(const Spread& spread, const Series& series, const std::optional<double>& figure) {
    return figure                              ? figureText(figure)
           : !series.low && !series.high       ? "no limits"
           : spread.count < kEnough            ? "too few"
           : spread.deviation.value_or(0) <= 0 ? "no spread"
                                               : "one limit";
}

std::string statisticsPage(const LineStatistics& statistics, const std::string& store) {
    pugi::xml_document document;
    document.append_child(pugi::node_doctype).set_value("html");
    Html html = Html(document).add("html");
    html.attribute("lang", "en");
    Html head = html.add("head");
    head.add("meta").attribute("charset", "utf-8");
    head.add("meta").attribute("name", "viewport").attribute("content", "width=device-width, initial-scale=1");
    head.add("title", "", "Statistics");
    head.add("style", "", kHtmlStyle);
    Html body = html.add("body");
    body.add("h1", "", "Statistics of " + store);
    addStatistics(body, statistics);
    return textOf(document);
}

std::string statisticsElements(const LineStatistics& statistics) {
    pugi::xml_document document;
    addStatistics(Html(document).add("div", "statistics"), statistics);
    return textOf(document);
}

}  // namespace tool
