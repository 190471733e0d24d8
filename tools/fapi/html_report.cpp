// SPDX-License-Identifier: Apache-2.0
// The report that people read.
#include "html_report.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "a_vextvfapi_common.h"
#include "html_charts.h"
#include "html_step.h"
#include "html_style.h"
#include "report_text.h"

namespace tool {

namespace {

constexpr std::size_t kShownText = 300;
constexpr Verdict kVerdicts[] = {Verdict::passed, Verdict::marginal,    Verdict::failed,
                                 Verdict::died,   Verdict::interrupted, Verdict::notRun};

struct Whole {
    const char* word;
    Verdict tone;
};

Whole verdictOf(const PlanResult& result) {
    if (result.count(Verdict::interrupted) != 0) {
        return {"STOPPED", Verdict::interrupted};
    }
    if (!result.isGood()) {
        return {"FAILED", Verdict::failed};
    }
    return {"PASSED", result.count(Verdict::marginal) != 0 ? Verdict::marginal : Verdict::passed};
}

std::string libraryVersion() {
    char text[64] = {};
    return a_vextvfapi_common_get_fapi_version(text, sizeof(text)) == 0 ? text : "";
}

void writeHead(Html html, const PlanResult& result) {
    Html head = html.add("head");
    head.add("meta").attribute("charset", "utf-8");
    head.add("meta").attribute("name", "viewport").attribute("content", "width=device-width, initial-scale=1");
    head.add("title", "", verdictOf(result).word + std::string(": ") + result.plan->name);
    head.add("style", "", kHtmlStyle);
}

void addFact(Html facts, const char* name, const std::string& value) {
    if (!value.empty()) {
        facts.add("dt", "", name);
        facts.add("dd", "", value);
    }
}

void writeVerdict(Html body, const PlanResult& result) {
    const Whole whole = verdictOf(result);
    Html card = body.add("header", ("verdict " + verdictClass(verdictName(whole.tone))).c_str());
    card.add("div", "word", whole.word);
    Html what = card.add("div", "what");
    what.add("h1", "", result.plan->name);
    what.add("div", "note",
             std::to_string(result.steps.size()) + " steps in " + durationText(result.seconds) + ", " +
                 timeText(result.start, "%Y-%m-%d %H:%M:%S %Z"));
    Html counts = what.add("div", "counts");
    for (const Verdict verdict : kVerdicts) {
        if (const std::size_t count = result.count(verdict); count != 0) {
            const std::string name = verdictName(verdict);
            counts.add("span", ("badge " + verdictClass(name)).c_str(), std::to_string(count) + " " + name);
        }
    }
    Html facts = body.add("dl", "facts");
    addFact(facts, "Plan", result.plan->file);
    addFact(facts, "Library", libraryVersion());
    addFact(facts, "Set", result.setFolder);
    addFact(facts, "Bench tool", FAPI_VERSION);
    addFact(facts, "Resumed", result.resumed ? "yes: what began before goes on here" : "");
    addFact(facts, "Set switched on", result.boots.empty() ? "" : result.boots + " times since it was made");
}

// A run that passed in spite of them means something else than one without.
void writeFaults(Html body, const Plan& plan) {
    if (plan.faults.empty()) {
        return;
    }
    body.add("h2", "", "Faults of the middleware in this run");
    Html list = body.add("ul", "faults");
    for (const PlanFault& fault : plan.faults) {
        list.add("li").add("code", "", fault.text());
    }
}

// The run at a glance: a piece for each step.
void writeTape(Html body, const PlanResult& result) {
    Html tape = body.add("nav", "tape");
    for (std::size_t i = 0; i < result.steps.size(); ++i) {
        Html piece = tape.add("a", verdictClass(verdictName(result.steps[i].verdict())).c_str(), "");
        piece.attribute("href", "#" + stepAnchor(i));
        piece.attribute("title", std::to_string(i + 1) + " " + result.plan->steps[i].name);
    }
}

// The last attempt's, or else what made another attempt necessary.
std::string firstFailure(const StepResult& step) {
    if (!step.text().empty() || step.attempts.size() < 2) {
        return step.text();
    }
    return "at first: " + step.attempts.front().judgement.text;
}

struct Column {
    const char* title;
    bool isNumber = false;  // stands on the right
};

Html addList(Html body, const char* title, const std::vector<Column>& columns) {
    body.add("h2", "", title);
    Html table = body.add("table", "list");
    Html row = table.add("thead").add("tr");
    for (const Column& column : columns) {
        row.add("th", column.isNumber ? "number" : "", column.title);
    }
    return table.add("tbody");
}

void addStepLink(Html row, const PlanResult& result, std::size_t index) {
    row.add("td", "number", std::to_string(index + 1));
    Html cell = row.add("td", "step");
    cell.add("a", "", result.plan->steps[index].name).attribute("href", "#" + stepAnchor(index));
    if (result.plan->steps[index].teardown) {
        cell.text(" ");
        cell.add("span", "tag", "teardown");
    }
}

void writeSummary(Html body, const PlanResult& result) {
    double longest = 0;
    for (const StepResult& step : result.steps) {
        longest = std::max(longest, step.seconds());
    }
    Html rows =
        addList(body, "Steps",
                {{"No", true}, {"Step"}, {"Verdict"}, {"Duration", true}, {""}, {"Attempts", true}, {"What failed"}});
    for (std::size_t i = 0; i < result.steps.size(); ++i) {
        const StepResult& step = result.steps[i];
        const std::string verdict = verdictName(step.verdict());
        Html row = rows.add("tr", verdictClass(verdict).c_str());
        addStepLink(row, result, i);
        row.add("td").add("span", ("badge " + verdictClass(verdict)).c_str(), verdict);
        row.add("td", "number", step.attempts.empty() ? "" : durationText(step.seconds()));
        Html bar = row.add("td", "bar");
        if (longest > 0 && !step.attempts.empty()) {
            const long percent = std::lround(100 * step.seconds() / longest);
            bar.add("span", "", "").attribute("style", "width:" + std::to_string(percent) + "%");
        }
        row.add("td", "number", step.attempts.empty() ? "" : std::to_string(step.attempts.size()));
        row.add("td", "text", beginningOf(firstFailure(step), kShownText));
    }
}

struct Measurement {
    std::size_t step;
    std::string command;
    std::string verdict;
    Json json;
};

// Of the last attempts.
std::vector<Measurement> measurementsOf(const PlanResult& result) {
    std::vector<Measurement> all;
    for (std::size_t i = 0; i < result.steps.size(); ++i) {
        const std::vector<Attempt>& attempts = result.steps[i].attempts;
        for (const Json& command : attempts.empty() ? Json::array() : attempts.back().commands) {
            for (const Json& expectation : command.value("expectations", Json::array())) {
                for (const Json& measurement : expectation.value("measurements", Json::array())) {
                    all.push_back({i, command["command"], expectation["verdict"], measurement});
                }
            }
        }
    }
    return all;
}

void writeMeasurements(Html body, const PlanResult& result) {
    const std::vector<Measurement> all = measurementsOf(result);
    if (all.empty()) {
        return;
    }
    Html rows = addList(
        body, "Measurements and their limits",
        {{"No", true}, {"Step"}, {"What"}, {"Value", true}, {"Limits", true}, {"Margin", true}, {""}, {"Verdict"}});
    for (const Measurement& measurement : all) {
        const Json& json = measurement.json;
        Html row = rows.add("tr", verdictClass(measurement.verdict).c_str());
        addStepLink(row, result, measurement.step);
        Html what = row.add("td", "", json["what"].get<std::string>());
        what.attribute("title", measurement.command);
        row.add("td", "number", json["value"].dump());
        row.add("td", "number", json["low"].dump() + " to " + json["high"].dump());
        row.add("td", "number", json["margin"] == 0 ? "" : json["margin"].dump());
        drawGauge(row.add("td", "gauge"), json);
        row.add("td").add("span", ("badge " + verdictClass(measurement.verdict)).c_str(), measurement.verdict);
    }
}

class HtmlReport : public Report {
public:
    const char* extension() const override { return ".html"; }

    void write(const PlanResult& result, const std::string& file) const override {
        pugi::xml_document document;
        document.append_child(pugi::node_doctype).set_value("html");
        Html html(document.append_child("html"));
        html.attribute("lang", "en");
        writeHead(html, result);
        Html body = html.add("body");
        writeVerdict(body, result);
        writeTape(body, result);
        writeFaults(body, *result.plan);
        writeSummary(body, result);
        writeMeasurements(body, result);
        body.add("h2", "", "Each step");
        const std::string folder = std::filesystem::path(file).parent_path().string();
        for (std::size_t i = 0; i < result.steps.size(); ++i) {
            writeStep(body, result.plan->steps[i], result.steps[i], i, folder);
        }
        // Without indentation, which some elements would show.
        if (!document.save_file(file.c_str(), "", pugi::format_raw | pugi::format_no_declaration,
                                pugi::encoding_utf8)) {
            throw std::runtime_error(file + ": cannot be written");
        }
    }
};

}  // namespace

std::unique_ptr<Report> htmlReport() {
    return std::make_unique<HtmlReport>();
}

}  // namespace tool
