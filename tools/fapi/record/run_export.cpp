// SPDX-License-Identifier: Apache-2.0
// Runs as files for other programs.
#include "record/run_export.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "record/run_json.h"

namespace tool {

namespace {

std::string csvLine(const std::vector<std::string>& fields) {
    std::string line;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        line += (i == 0 ? "" : ",") + csvField(fields[i]);
    }
    return line + "\r\n";
}

std::string csvHead() {
    return csvLine({"run",  "number",  "station",     "stage",         "serial",
                    "plan", "began",   "verdict",     "deciding_step", "seconds",
                    "step", "attempt", "measurement", "value",         "text",
                    "unit", "low",     "high",        "margin",        "measurement_verdict",
                    "at"});
}

// A run without measurements has a line, too.
std::string csvRun(const WholeRun& whole) {
    const RunRecord& run = whole.run;
    const std::vector<std::string> common = {run.id,
                                             std::to_string(run.number),
                                             run.station,
                                             run.stage,
                                             run.unit.value_or(""),
                                             run.plan,
                                             run.began,
                                             run.verdict.value_or(""),
                                             run.decidingStep,
                                             exactNumber(run.seconds)};
    std::string text;
    for (const MeasurementRecord& row : whole.parts.measurements) {
        std::vector<std::string> fields = common;
        const auto isStep = [&](const StepRecord& step) { return step.number == row.step; };
        const auto step = std::find_if(whole.parts.steps.begin(), whole.parts.steps.end(), isStep);
        for (const std::string& field :
             {step == whole.parts.steps.end() ? "" : step->name, std::to_string(row.attempt), row.name,
              exactNumber(row.value), row.text.value_or(""), row.unit, exactNumber(row.low), exactNumber(row.high),
              exactNumber(row.margin), row.verdict, row.at}) {
            fields.push_back(field);
        }
        text += csvLine(fields);
    }
    if (text.empty()) {
        std::vector<std::string> fields = common;
        fields.resize(21);
        text = csvLine(fields);
    }
    return text;
}

std::string nothing() {
    return "";
}

std::string jsonRun(const WholeRun& run) {
    return jsonLine(runJson(run)) + "\n";
}

constexpr ExportFormat kFormats[] = {
    {"csv", csvHead, csvRun, nothing}, {"jsonl", nothing, jsonRun, nothing}, {"atml", atmlHead, atmlRun, atmlTail}};

}  // namespace

const ExportFormat* findExportFormat(const std::string& name) {
    const auto* format = std::find_if(std::begin(kFormats), std::end(kFormats),
                                      [&](const ExportFormat& known) { return name == known.name; });
    return format == std::end(kFormats) ? nullptr : format;
}

std::string exportFormatNames() {
    return "csv, jsonl or atml";
}

void exportRuns(Database& database, const RunFilter& filter, const ExportFormat& format, FILE* file) {
    std::fputs(format.head().c_str(), file);
    // A server takes no second statement while one is read.
    std::vector<RunRecord> runs;
    forEachRun(database, filter, [&](const RunRecord& run) { runs.push_back(run); });
    for (const RunRecord& run : runs) {
        std::fputs(format.run(wholeRun(database, run)).c_str(), file);
    }
    std::fputs(format.tail().c_str(), file);
}

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string quoted = "\"";
    for (const char c : text) {
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    }
    return quoted + "\"";
}

std::string exactNumber(const std::optional<double>& number) {
    if (!number || !std::isfinite(*number)) {
        return "";
    }
    char text[64];
    const auto end = std::to_chars(text, text + sizeof(text), *number);
    return {text, end.ptr};
}

}  // namespace tool
