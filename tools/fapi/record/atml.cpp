// SPDX-License-Identifier: Apache-2.0
// Runs as test results of IEEE Std 1636.1-2013 (ATML).
#include <algorithm>
#include <sstream>

#include <pugixml.hpp>

#include "base/report_text.h"
#include "record/identity.h"
#include "record/run_export.h"

namespace tool {

namespace {

// The standard's word for a verdict.
const char* outcomeOf(const std::string& verdict) {
    struct Row {
        std::string_view verdict;
        const char* outcome;
    };
    static constexpr Row kOutcomes[] = {
        {"passed", "Passed"}, {"marginal", "Passed"}, {"failed", "Failed"}, {"not run", "NotStarted"}};
    const auto* row = std::find_if(std::begin(kOutcomes), std::end(kOutcomes),
                                   [&](const Row& known) { return known.verdict == verdict; });
    return row == std::end(kOutcomes) ? "Aborted" : row->outcome;
}

void set(pugi::xml_node node, const char* name, const std::string& value) {
    node.append_attribute(name) = xmlText(value).c_str();
}

pugi::xml_node add(pugi::xml_node parent, const char* tag) {
    return parent.append_child(tag);
}

void addText(pugi::xml_node parent, const char* tag, const std::string& text) {
    add(parent, tag).text() = xmlText(text).c_str();
}

void addOutcome(pugi::xml_node parent, const std::string& verdict) {
    pugi::xml_node outcome = add(parent, "tr:Outcome");
    set(outcome, "value", outcomeOf(verdict));
    // What the standard has no word for.
    if (verdict == "marginal" || verdict == "error" || verdict == "interrupted") {
        set(outcome, "qualifier", verdict);
    }
}

void addDatum(pugi::xml_node parent, const MeasurementRecord& row, const std::optional<double>& value) {
    pugi::xml_node datum = add(parent, "c:Datum");
    set(datum, "xsi:type", value ? "c:double" : "c:string");
    if (!row.unit.empty()) {
        set(datum, "nonStandardUnit", row.unit);
    }
    value ? set(datum, "value", exactNumber(value)) : addText(datum, "c:Value", row.text.value_or(""));
}

void addLimit(pugi::xml_node parent, const MeasurementRecord& row, const char* comparator,
              const std::optional<double>& value) {
    pugi::xml_node limit = add(parent, parent.name() == std::string("c:LimitPair") ? "c:Limit" : "c:SingleLimit");
    set(limit, "comparator", comparator);
    addDatum(limit, row, value);
}

void addLimits(pugi::xml_node result, const MeasurementRecord& row) {
    if (!row.low && !row.high) {
        return;
    }
    pugi::xml_node limits = add(add(result, "tr:TestLimits"), "tr:Limits");
    if (row.low && row.high) {
        limits = add(limits, "c:LimitPair");
        set(limits, "operator", "AND");
    }
    if (row.low) {
        addLimit(limits, row, "GE", row.low);
    }
    if (row.high) {
        addLimit(limits, row, "LE", row.high);
    }
}

void addMeasurement(pugi::xml_node test, const MeasurementRecord& row) {
    pugi::xml_node result = add(test, "tr:TestResult");
    set(result, "ID", std::to_string(row.step) + "." + std::to_string(row.attempt) + "." + std::to_string(row.number));
    set(result, "name", row.name);
    addOutcome(result, row.verdict);
    addLimits(result, row);
    addDatum(add(result, "tr:TestData"), row, row.value);
}

void addStep(pugi::xml_node parent, const WholeRun& run, const StepRecord& step) {
    pugi::xml_node test = add(parent, "tr:Test");
    set(test, "ID", std::to_string(step.number));
    set(test, "name", step.name);
    addOutcome(test, step.verdict);
    if (!step.text.empty()) {
        pugi::xml_node events = add(test, "tr:Events");
        pugi::xml_node event = add(events, "tr:Event");
        set(event, "ID", "reason");
        addText(event, "tr:Message", step.text);
    }
    for (const MeasurementRecord& row : run.parts.measurements) {
        if (row.step == step.number && row.final != 0) {
            addMeasurement(test, row);
        }
    }
}

void addPlaces(pugi::xml_node results, const RunRecord& run) {
    pugi::xml_node station = add(results, "tr:TestStation");
    addText(station, "c:SerialNumber", run.station);
    pugi::xml_node uut = add(results, "tr:UUT");
    set(uut, "UutType", "Hardware");
    addText(uut, "c:SerialNumber", run.unit.value_or(""));
}

}  // namespace

std::string atmlHead() {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<trc:TestResultsCollection xmlns:trc=\"urn:IEEE-1636.1:2013:TestResultsCollection\"\n"
           "    xmlns:tr=\"urn:IEEE-1636.1:2013:TestResults\" xmlns:c=\"urn:IEEE-1671:2010:Common\"\n"
           "    xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n";
}

std::string atmlRun(const WholeRun& whole) {
    const RunRecord& run = whole.run;
    pugi::xml_document document;
    pugi::xml_node results = add(document, "trc:TestResults");
    set(results, "uuid", run.id);
    if (!run.person.empty()) {
        pugi::xml_node person = add(add(results, "tr:Personnel"), "tr:SystemOperator");
        set(person, "ID", run.person);
    }
    pugi::xml_node resultSet = add(results, "tr:ResultSet");
    set(resultSet, "ID", std::to_string(run.number));
    set(resultSet, "name", run.plan);
    set(resultSet, "startDateTime", run.began);
    set(resultSet, "endDateTime", run.ended.value_or(run.began));
    addOutcome(resultSet, run.verdict.value_or("interrupted"));
    for (const StepRecord& step : whole.parts.steps) {
        addStep(resultSet, whole, step);
    }
    addPlaces(results, run);
    std::ostringstream text;
    document.print(text, "  ", pugi::format_default | pugi::format_no_declaration);
    return text.str();
}

std::string atmlTail() {
    return "</trc:TestResultsCollection>\n";
}

}  // namespace tool
