// SPDX-License-Identifier: Apache-2.0
// The history of a bench that kept runs as lines of JSON, history.jsonl in the folder of the reports.
#include "record/old_history.h"

#include <cstdio>
#include <filesystem>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

#include "base/durable_file.h"
#include "base/terminal.h"
#include "record/identity.h"
#include "record/results_store.h"
#include "target/output.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// "2026-02-14T10:15:30+01:00"
long long offsetIn(const std::string& when) {
    int hours = 0, minutes = 0;
    char sign = '+';
    if (when.size() < 25 || std::sscanf(when.c_str() + 19, "%c%2d:%2d", &sign, &hours, &minutes) != 3) {
        return 0;
    }
    return (sign == '-' ? -1 : 1) * (hours * 60 + minutes);
}

RunParts partsIn(const Json& json, const RunRecord& run) {
    RunParts parts;
    for (const Json& told : json.at("steps")) {
        StepRecord step;
        step.run = run.id;
        step.number = static_cast<long long>(parts.steps.size());
        step.name = told.at("name").get<std::string>();
        step.verdict = told.at("verdict").get<std::string>();
        step.seconds = told.at("seconds").get<double>();
        for (const Json& measured : told.at("measurements")) {
            MeasurementRecord row;
            row.run = run.id;
            row.step = step.number;
            row.number = static_cast<long long>(parts.measurements.size());
            row.final = 1;
            row.name = measured.at("name").get<std::string>();
            row.value = measured.at("value").get<double>();
            row.at = run.began;
            parts.measurements.push_back(std::move(row));
        }
        parts.steps.push_back(std::move(step));
    }
    for (const Json& picture : json.value("pictures", Json::array())) {
        AttachmentRecord row;
        row.run = run.id;
        row.number = static_cast<long long>(parts.attachments.size());
        row.name = row.file = picture.get<std::string>();
        parts.attachments.push_back(std::move(row));
    }
    return parts;
}

// Throws nlohmann's exceptions for a damaged line.
WholeRun runIn(const std::string& line, const std::string& station) {
    const Json json = parseJson(line);
    WholeRun whole;
    RunRecord& run = whole.run;
    const auto when = json.at("when").get<std::string>();
    const std::string began = parseTime(when, false).value_or(utcText(WallTime()));
    run.id = runIdFrom(parseUtc(began).value_or(WallTime()), line);
    run.number = json.at("id").get<unsigned int>();
    run.station = run.host = station;
    run.plan = json.at("plan").get<std::string>();
    run.planFile = json.at("file").get<std::string>();
    run.planHash = "of " + run.planFile;
    run.parameters = "{}";
    run.began = began;
    run.utcOffset = offsetIn(when);
    run.seconds = json.at("seconds").get<double>();
    run.ended = utcText(*parseUtc(began) + std::chrono::milliseconds(static_cast<long long>(run.seconds * 1000)));
    run.verdict = json.at("verdict").get<std::string>();
    run.passed = json.at("passed").get<long long>();
    run.marginal = json.at("marginal").get<long long>();
    run.failed = json.at("failed").get<long long>();
    run.notRun = json.at("not_run").get<long long>();
    // Older lines have none of these two.
    run.errors = json.value("errors", 0LL);
    run.interrupted = json.value("interrupted", 0LL);
    run.faults = json.at("faults").get<long long>();
    run.report = json.at("report").get<std::string>();
    whole.parts = partsIn(json, run);
    for (const StepRecord& step : whole.parts.steps) {
        if (run.decidingStep.empty() && run.verdict != "passed" && step.verdict == run.verdict) {
            run.decidingStep = step.name;
        }
    }
    return whole;
}

std::vector<WholeRun> runsIn(const std::string& file, const std::string& text) {
    char host[256] = "";
    gethostname(host, sizeof(host) - 1);
    std::vector<WholeRun> runs;
    std::istringstream lines(text);
    std::string line;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        try {
            runs.push_back(runIn(line, host));
        } catch (const Json::exception&) {
            printMessage(file + ":" + std::to_string(number) + ": is damaged, left out");
        }
    }
    return runs;
}

}  // namespace

void takeOverHistory(const std::string& folder) {
    const std::string file = (fs::path(folder) / "history.jsonl").string();
    std::error_code error;
    if (!fs::is_regular_file(file, error)) {
        return;
    }
    ResultsStore store(resultsFileIn(folder));
    // Another program may be at it.
    const FolderLock lock(folder);
    if (!fs::is_regular_file(file, error)) {
        return;
    }
    const std::vector<WholeRun> runs = runsIn(file, OpenFile(file, O_RDONLY).read());
    store.addWhole(runs);
    const std::string taken = (fs::path(folder) / "history.taken.jsonl").string();
    if (std::rename(file.c_str(), taken.c_str()) != 0) {
        throw writeError(taken, errno);
    }
    syncFolderOf(taken);
}

}  // namespace tool
