// SPDX-License-Identifier: Apache-2.0
// The history of a bench that kept runs as lines of JSON, history.jsonl in the folder of the reports.
#include "record/old_history.h"

#include <filesystem>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

#include "base/durable_file.h"
#include "base/terminal.h"
#include "base/text_pattern.h"
#include "record/identity.h"
#include "record/results_store.h"
#include "record/unfinished_run.h"
#include "target/output.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// "2026-02-14T10:15:30+01:00"
long long offsetIn(const std::string& when) {
    if (when.size() < 25) {
        return 0;
    }
    const char* rest = when.c_str() + 20;
    const std::optional<int> hours = takeNumber(rest, 2);
    if (!hours || *rest != ':') {
        return 0;
    }
    const std::optional<int> minutes = takeNumber(++rest, 2);
    return minutes ? (when[19] == '-' ? -1 : 1) * (*hours * 60ll + *minutes) : 0;
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
        row.kind = kPicture;
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

std::string thisStation() {
    char host[256] = "";
    gethostname(host, sizeof(host) - 1);
    return host;
}

std::vector<WholeRun> runsIn(const std::string& file, const std::string& text) {
    std::vector<WholeRun> runs;
    std::istringstream lines(text);
    std::string line;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        try {
            runs.push_back(runIn(line, thisStation()));
        } catch (const Json::exception&) {
            printMessage(file + ":" + std::to_string(number) + ": is damaged, left out");
        }
    }
    return runs;
}

// When the report's names were taken: "reports/line-20260214-101530", or with "-2" after it.
std::string beginOf(const std::string& stem) {
    static const TextPattern kName(".*-([0-9]{4})([0-9]{2})([0-9]{2})-([0-9]{2})([0-9]{2})([0-9]{2})(-[0-9]+)?");
    const std::vector<std::string> parts = kName.match(stem);
    const std::optional<std::string> time =
        parts.empty()
            ? std::nullopt
            : parseTime(parts[1] + "-" + parts[2] + "-" + parts[3] + "T" + parts[4] + ":" + parts[5] + ":" + parts[6],
                        false);
    return time.value_or(utcText(WallTime()));
}

// As far as the run had come; the names of its steps are not known any more.
WholeRun runIn(const UnfinishedRun& unfinished, const std::string& station) {
    WholeRun whole;
    RunRecord& run = whole.run;
    const std::string stem = fs::path(unfinished.stem()).filename().string();
    run.began = beginOf(stem);
    run.id = runIdFrom(parseUtc(run.began).value_or(WallTime()), stem);
    run.station = run.host = station;
    run.planFile = unfinished.plan();
    run.plan = fs::path(run.planFile).stem().string();
    run.planHash = "of " + run.planFile;
    run.parameters = jsonLine(Json(unfinished.parameters().empty() ? Json::object() : Json(unfinished.parameters())));
    run.set = unfinished.set().name;
    run.report = stem;
    run.utcOffset = utcOffsetAt(parseUtc(run.began).value_or(WallTime()));
    run.verdict = verdictName(Verdict::interrupted);
    run.why = "the program that carried it out has died";
    for (const auto& [index, result] : unfinished.steps()) {
        StepRecord step;
        step.run = run.id;
        step.number = static_cast<long long>(index);
        step.name = "step " + std::to_string(index + 1);
        step.verdict = verdictName(result.verdict() == Verdict::died ? Verdict::failed : result.verdict());
        step.text = result.text();
        step.seconds = result.seconds();
        run.seconds += step.seconds;
        run.passed += result.verdict() == Verdict::passed ? 1 : 0;
        run.marginal += result.verdict() == Verdict::marginal ? 1 : 0;
        run.failed += step.verdict == verdictName(Verdict::failed) ? 1 : 0;
        run.errors += result.verdict() == Verdict::error ? 1 : 0;
        whole.parts.steps.push_back(std::move(step));
    }
    run.ended = utcText(parseUtc(run.began).value_or(WallTime()) +
                        std::chrono::milliseconds(static_cast<long long>(run.seconds * 1000)));
    return whole;
}

// Runs that could still be resumed and are in no store. One that goes on is a newer bench's.
void takeOverUnfinished(const std::string& folder) {
    for (const std::string& file : UnfinishedRun::filesIn(folder)) {
        const std::unique_ptr<UnfinishedRun> run = UnfinishedRun::read(file);
        if (run == nullptr || !run->record().empty() || !run->lock()) {
            continue;
        }
        ResultsStore store(resultsFileIn(folder));
        WholeRun whole = runIn(*run, thisStation());
        whole.run.number =
            1 + findNumber(store.database(), "select coalesce(max(number), 0) from run where station = :a",
                           {whole.run.station})
                    .value_or(0);
        store.addWhole({whole});
        run->storeRecord(whole.run.id);
    }
}

}  // namespace

// The history's file, once.
static void takeOverLines(const std::string& folder, const std::string& file) {
    ResultsStore store(resultsFileIn(folder));
    // Another program may be at it.
    const FolderLock lock(folder);
    std::error_code error;
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

void takeOverHistory(const std::string& folder) {
    const std::string file = (fs::path(folder) / "history.jsonl").string();
    std::error_code error;
    if (fs::is_regular_file(file, error)) {
        takeOverLines(folder, file);
    }
    takeOverUnfinished(folder);
}

}  // namespace tool
