// SPDX-License-Identifier: Apache-2.0
// The report that people read.
#include "report/page.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <numeric>
#include <optional>

#include "base/report_text.h"
#include "report/charts.h"
#include "report/measured_text.h"
#include "report/step.h"
#include "report/style.h"

namespace tool {

namespace {

constexpr std::size_t kShownText = 300;
constexpr std::size_t kShownCommand = 80;
// A browser has to open the page of ten thousand steps, too, so only the first ones of each verdict are shown in full.
constexpr std::size_t kShownOfEach = 200;
constexpr std::size_t kTapePieces = 400;  // more are too narrow to be told apart
constexpr Verdict kVerdicts[] = {Verdict::passed, Verdict::marginal,    Verdict::failed, Verdict::error,
                                 Verdict::died,   Verdict::interrupted, Verdict::notRun, Verdict::skipped};

// Counts what there is of each verdict, and tells whether one more of it is to be shown.
class FirstOfEach {
public:
    bool take(const std::string& verdict) { return ++_seen[verdict] <= kShownOfEach; }

private:
    std::map<std::string, std::size_t> _seen;
};

// What draws the eye to a step, from nothing on: the most is what the verdict of the whole run comes from.
int weightOf(const StepResult& step) {
    switch (step.verdict()) {
        case Verdict::passed:
        case Verdict::notRun:
        case Verdict::skipped:
            return 0;
        case Verdict::marginal:
            return 1;
        case Verdict::interrupted:
            return 3;
        default:
            return 2;
    }
}

// The first one of the greatest weight.
std::size_t weightiest(const std::vector<StepResult>& steps, std::size_t begin, std::size_t end) {
    const auto first = steps.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto found = std::max_element(
        first, steps.begin() + static_cast<std::ptrdiff_t>(end),
        [](const StepResult& left, const StepResult& right) { return weightOf(left) < weightOf(right); });
    return static_cast<std::size_t>(found - steps.begin());
}

// What somebody has to look at comes first.
std::vector<std::size_t> orderOf(const PlanResult& result) {
    std::vector<std::size_t> order(result.steps.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_partition(order.begin(), order.end(),
                          [&](std::size_t index) { return isBad(result.steps[index].verdict()); });
    return order;
}

// The verdicts that steps have. With more than one the page offers to leave some out.
std::vector<Verdict> verdictsOf(const PlanResult& result) {
    std::vector<Verdict> found;
    std::copy_if(std::begin(kVerdicts), std::end(kVerdicts), std::back_inserter(found),
                 [&](Verdict verdict) { return result.count(verdict) != 0; });
    return found;
}

std::string showBox(Verdict verdict) {
    return "show-" + verdictClass(verdictName(verdict));
}

void writeHead(Html html, const PlanResult& result) {
    Html head = html.add("head");
    head.add("meta").attribute("charset", "utf-8");
    head.add("meta").attribute("name", "viewport").attribute("content", "width=device-width, initial-scale=1");
    head.add("title", "", verdictWord(result.verdict()) + std::string(": ") + result.plan->name);
    std::string style = kHtmlStyle;
    for (const Verdict verdict : verdictsOf(result)) {
        style += "body:has(#" + showBox(verdict) + ":not(:checked)) :is(tr, section:not(:target))." +
                 verdictClass(verdictName(verdict)) + " { display: none; }\n";
    }
    head.add("style", "", style);
}

Html stepLink(Html parent, const char* cssClass, const std::string& text, std::size_t index) {
    Html link = parent.add("a", cssClass, text);
    return link.attribute("href", "#" + stepAnchor(index));
}

void addFact(Html facts, const char* name, const std::string& value) {
    if (!value.empty()) {
        facts.add("dt", "", name);
        facts.add("dd", "", value);
    }
}

void writeCounts(Html parent, const PlanResult& result) {
    const std::vector<Verdict> verdicts = verdictsOf(result);
    Html counts = parent.add("div", "counts");
    for (const Verdict verdict : verdicts) {
        const std::string name = verdictName(verdict);
        Html badge = counts.add(verdicts.size() > 1 ? "label" : "span", ("badge " + verdictClass(name)).c_str());
        if (verdicts.size() > 1) {
            Html box = badge.add("input");
            box.attribute("type", "checkbox").attribute("id", showBox(verdict)).attribute("checked", "checked");
        }
        badge.text(std::to_string(result.count(verdict)) + " " + name);
    }
}

void writeVerdict(Html body, const PlanResult& result) {
    const Verdict verdict = result.verdict();
    const std::size_t notable = weightiest(result.steps, 0, result.steps.size());
    Html card = body.add("header", ("verdict " + verdictClass(verdictName(verdict))).c_str());
    Html what = card.add("div", "what");
    what.add("h1", "", result.plan->name);
    what.add("div", "note",
             std::to_string(result.steps.size()) + " steps in " + durationText(result.seconds) + ", " +
                 timeText(result.start, "%Y-%m-%d %H:%M:%S %Z"));
    writeCounts(what, result);
    if (weightOf(result.steps[notable]) == 0) {
        card.add("div", "word", verdictWord(verdict));
        return;
    }
    stepLink(card, "word", verdictWord(verdict), notable);
    Html first = what.add("div", "first", "first " + std::string(verdictName(result.steps[notable].verdict())) + ": ");
    stepLink(first, "", std::to_string(notable + 1) + " " + result.plan->nameAt(notable), notable);
}

// Links to what a person may have opened the page for.
void addKeptFact(Html facts, const char* title, const char* kind, const PlanResult& result) {
    std::optional<Html> links;
    for (std::size_t i = 0; i < result.steps.size(); ++i) {
        for (const Json& kept : result.steps[i].kept(kind)) {
            if (!links) {
                facts.add("dt", "", title);
                links = facts.add("dd");
            } else {
                links->text(", ");
            }
            stepLink(*links, "", kept["name"].get<std::string>(), i);
        }
    }
}

// What the run is known by.
void writeRecord(Html facts, const PlanResult& result) {
    if (result.record == nullptr) {
        return;
    }
    const RunRecord& run = *result.record;
    if (run.unit) {
        addFact(facts, "Unit", *run.unit + ", attempt " + std::to_string(run.attempt));
    }
    std::string parameters;
    const Json values = Json::parse(run.parameters);
    for (const auto& [name, value] : values.items()) {
        parameters += (parameters.empty() ? "" : ", ") + name + " " + beginningOf(value.get<std::string>(), kShownText);
    }
    addFact(facts, "Parameters", beginningOf(parameters, kShownText));
    addFact(facts, "Run", std::to_string(run.number) + ", " + run.id);
    addFact(facts, "Station", run.station + (run.stage.empty() ? "" : ", " + run.stage));
    addFact(facts, "Operator", run.person + " at " + run.host);
    addFact(facts, "SHA-256", run.planHash);
    addFact(facts, "Agent", run.agent);
    if (run.waiver) {
        addFact(facts, "Waived", "by " + run.waivedBy.value_or("") + ": " + beginningOf(*run.waiver, kShownText));
    }
}

void writeFacts(Html main, const PlanResult& result) {
    Html facts = main.add("dl", "facts");
    writeRecord(facts, result);
    addFact(facts, "Plan", result.plan->file);
    addFact(facts, "Library", result.library);
    addFact(facts, "Set", result.setFolder);
    addFact(facts, "Bench tool", FAPI_VERSION);
    addFact(facts, "Time",
            durationText(result.times.calls) + " in calls of the set, " + durationText(result.times.waits) +
                " of waiting, " +
                durationText(std::max(0.0, result.seconds - result.times.calls - result.times.waits)) + " besides");
    addFact(facts, "Resumed", result.resumed ? "yes: what began before goes on here" : "");
    addFact(facts, "Set switched on",
            result.boots.empty()  ? ""
            : result.boots == "1" ? "once since it was made"
                                  : result.boots + " times since it was made");
    addKeptFact(facts, "Pictures", "picture", result);
    addKeptFact(facts, "Numbers", "data", result);
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

// The run at a glance: a piece for each step, or of very many steps for some in a row.
void writeTape(Html body, const PlanResult& result) {
    Html tape = body.add("nav", "tape");
    tape.attribute("aria-label", "Steps by their verdicts");
    const std::size_t count = result.steps.size(), steps = (count + kTapePieces - 1) / kTapePieces;
    for (std::size_t begin = 0; begin < count; begin += steps) {
        const std::size_t shown = weightiest(result.steps, begin, std::min(begin + steps, count));
        Html piece = stepLink(tape, verdictClass(verdictName(result.steps[shown].verdict())).c_str(), "", shown);
        piece.attribute("title", std::to_string(shown + 1) + " " + result.plan->nameAt(shown));
    }
}

struct Column {
    const char* title;
    const char* cssClass;
};

Html addList(Html body, const char* title, const std::vector<Column>& columns) {
    body.add("h2", "", title);
    Html table = body.add("table", "list");
    Html row = table.add("thead").add("tr");
    for (const Column& column : columns) {
        row.add("th", column.cssClass, column.title);
    }
    return table.add("tbody");
}

// On a narrow page, where a row is a block, the cell brings its column's title along.
Html addCell(Html row, const Column& column, const std::string& text) {
    return text.empty() ? row.add("td") : row.add("td", column.cssClass, text).attribute("data-label", column.title);
}

// Its color is the row's.
void addBadge(Html row, const std::string& verdict) {
    row.add("td").add("span", "badge", verdict);
}

Html addName(Html row, const Plan& plan, std::size_t index, bool isLink) {
    row.add("td", "no", std::to_string(index + 1));
    Html cell = row.add("td", "step");
    if (isLink) {
        stepLink(cell, "", plan.nameAt(index), index);
    } else {
        cell.text(plan.nameAt(index));
    }
    if (plan.stepAt(index).teardown) {
        cell.text(" ");
        cell.add("span", "tag", "teardown");
    }
    return cell;
}

// Which steps have a section of their own: the first ones of each verdict, and all that have kept something.
std::vector<bool> detailedSteps(const PlanResult& result) {
    std::vector<bool> detailed;
    FirstOfEach shown;
    for (const StepResult& step : result.steps) {
        detailed.push_back(shown.take(verdictName(step.verdict())) || !step.kept("picture").empty() ||
                           !step.kept("data").empty());
    }
    return detailed;
}

void writeSummary(Html body, const PlanResult& result, const std::vector<bool>& detailed) {
    constexpr Column kAttempts = {"Attempts", "count"}, kDuration = {"Duration", "time"};
    double longest = 1e-6;
    for (const StepResult& step : result.steps) {
        longest = std::max(longest, step.seconds());
    }
    Html rows = addList(
        body, "Steps", {{"No", "no"}, {"Step", "step"}, {"Verdict", "badges"}, kAttempts, kDuration, {"Share", "bar"}});
    for (const std::size_t i : orderOf(result)) {
        if (!result.isListed(i)) {
            continue;
        }
        const StepResult& step = result.steps[i];
        const std::string verdict = verdictName(step.verdict());
        const std::size_t attempts = step.attempts.size();
        Html row = rows.add("tr", verdictClass(verdict).c_str());
        if (!detailed[i]) {
            row.attribute("id", stepAnchor(i));
        }
        Html name = addName(row, *result.plan, i, detailed[i]);
        if (const std::string text = whyText(step); !text.empty()) {
            name.add("div", "text", beginningOf(text, kShownText));
        }
        addBadge(row, verdict);
        addCell(row, kAttempts, attempts > 1 ? std::to_string(attempts) : "");
        // The style has its label: pages have thousands of them.
        row.add("td", kDuration.cssClass, attempts > 0 ? durationText(step.seconds()) : "");
        if (const long percent = std::lround(100 * step.seconds() / longest); percent > 0) {
            drawPart(row.add("td", "bar"), static_cast<double>(percent) / 100);
        } else {
            row.add("td");
        }
    }
}

constexpr Column kValue = {"Value", "value"}, kLimits = {"Limits", "limits"};

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

void writeMeasurement(Html rows, const Measurement& measurement, const Plan& plan) {
    const Json& json = measurement.json;
    Html row = rows.add("tr", verdictClass(measurement.verdict).c_str());
    addName(row, plan, measurement.step, true);
    Html what = row.add("td", "what", json.value("name", json["what"].get<std::string>()));
    what.text(" ");
    what.add("code", "", beginningOf(measurement.command, kShownCommand));
    addCell(row, kValue, beginningOf(seenText(json), kShownCommand));
    Html limits = addCell(row, kLimits, beginningOf(allowedText(json), kShownCommand));
    if (json["margin"] != 0) {
        limits.add("span", "margin", " margin " + jsonText(json["margin"], -1));
    }
    Html gauge = row.add("td", "gauge");
    if (json.contains("value") && json["value"].is_number() && json["low"].is_number() && json["high"].is_number()) {
        drawGauge(gauge, json);
    }
    addBadge(row, measurement.verdict);
}

void writeMore(Html parent, std::size_t count) {
    if (count != 0) {
        parent.add("p", "note", "... " + std::to_string(count) + " more, which the JSON report has");
    }
}

void writeMeasurements(Html body, const PlanResult& result) {
    const std::vector<Measurement> all = measurementsOf(result);
    if (all.empty()) {
        return;
    }
    Html rows = addList(
        body, "Measurements and their limits",
        {{"No", "no"}, {"Step", "step"}, {"What", "what"}, kValue, kLimits, {"Place", "gauge"}, {"Verdict", "badges"}});
    FirstOfEach shown;
    std::size_t more = 0;
    for (const Measurement& measurement : all) {
        if (shown.take(measurement.verdict)) {
            writeMeasurement(rows, measurement, *result.plan);
        } else {
            ++more;
        }
    }
    writeMore(body, more);
}

void writeSteps(Html body, const PlanResult& result, const std::vector<bool>& detailed, const std::string& folder) {
    body.add("h2", "", "Each step");
    for (const std::size_t i : orderOf(result)) {
        if (detailed[i]) {
            writeStep(body, result, i, folder);
        }
    }
    const auto more = static_cast<std::size_t>(std::count(detailed.begin(), detailed.end(), false));
    writeMore(body, more - result.unlisted());
    if (result.unlisted() != 0) {
        body.add("p", "note",
                 std::to_string(result.unlisted()) + " steps more, of which the results store has those that ran");
    }
}

class HtmlReport : public Report {
public:
    const char* extension() const override { return ".html"; }

    void tell(const PlanResult& result, const std::string& folder, const TextSink& sink) const override {
        pugi::xml_document document;
        document.append_child(pugi::node_doctype).set_value("html");
        Html html(document.append_child("html"));
        html.attribute("lang", "en");
        writeHead(html, result);
        Html body = html.add("body");
        writeVerdict(body, result);
        writeTape(body, result);
        Html main = body.add("main");
        writeFacts(main, result);
        writeFaults(main, *result.plan);
        const std::vector<bool> detailed = detailedSteps(result);
        writeSummary(main, result, detailed);
        writeMeasurements(main, result);
        writeSteps(main, result, detailed, folder);
        // Without indentation, which some elements would show.
        SinkWriter writer(sink);
        document.save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    }
};

}  // namespace

std::unique_ptr<Report> htmlReport() {
    return std::make_unique<HtmlReport>();
}

}  // namespace tool
