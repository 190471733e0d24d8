// SPDX-License-Identifier: Apache-2.0
// The file of runs that have ended.
#include "record/history.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

#include "base/durable_file.h"
#include "base/report_text.h"
#include "base/terminal.h"
#include "protocol/characters.h"
#include "record/unfinished_run.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// "sys_get_emmc_env_var", "set pixel"
std::string nameOf(const Json& command) {
    // The rest of a long line is cut off, perhaps within quotes.
    std::istringstream words(command["command"].get<std::string>());
    std::string first, second;
    words >> first >> second;
    return first == "set" ? first + " " + second : first;
}

// "sys_get_emmc_env_var length"; a second one of that name in a step gets its number.
std::string measurementName(const std::string& name, const std::vector<Measurement>& taken) {
    const auto isOfName = [&](const Measurement& other) {
        return other.name == name || other.name.rfind(name + " (", 0) == 0;
    };
    const auto before = std::count_if(taken.begin(), taken.end(), isOfName);
    return before == 0 ? name : name + " (" + std::to_string(before + 1) + ")";
}

std::vector<Measurement> measurementsOf(const StepResult& step) {
    std::vector<Measurement> found;
    if (step.attempts.empty()) {
        return found;
    }
    for (const Json& command : step.attempts.back().commands) {
        const auto expectations = command.find("expectations");
        if (expectations == command.end()) {
            continue;
        }
        for (const Json& expectation : *expectations) {
            for (const Json& measured : expectation.value("measurements", Json::array())) {
                const std::string name = nameOf(command) + " " + measured["what"].get<std::string>();
                found.push_back({measurementName(name, found), measured["value"].get<long long>()});
            }
        }
    }
    return found;
}

Json toJson(const HistoryStep& step) {
    Json measurements = Json::array();
    for (const Measurement& measurement : step.measurements) {
        measurements.push_back({{"name", measurement.name}, {"value", measurement.value}});
    }
    return {{"name", step.name},
            {"verdict", step.verdict},
            {"seconds", step.seconds},
            {"measurements", std::move(measurements)}};
}

HistoryStep stepOf(const Json& json) {
    HistoryStep step;
    step.name = json.at("name").get<std::string>();
    step.verdict = json.at("verdict").get<std::string>();
    step.seconds = json.at("seconds").get<double>();
    for (const Json& measurement : json.at("measurements")) {
        step.measurements.push_back(
            {measurement.at("name").get<std::string>(), measurement.at("value").get<long long>()});
    }
    return step;
}

// Nothing when the line is damaged.
std::optional<HistoryEntry> entryOf(const std::string& line) {
    try {
        const Json json = parseJson(line);
        HistoryEntry entry;
        entry.id = json.at("id").get<unsigned int>();
        entry.when = json.at("when").get<std::string>();
        entry.plan = json.at("plan").get<std::string>();
        entry.file = json.at("file").get<std::string>();
        entry.verdict = json.at("verdict").get<std::string>();
        entry.passed = json.at("passed").get<std::size_t>();
        entry.marginal = json.at("marginal").get<std::size_t>();
        entry.failed = json.at("failed").get<std::size_t>();
        entry.interrupted = json.value("interrupted", std::size_t{0});
        entry.notRun = json.at("not_run").get<std::size_t>();
        entry.seconds = json.at("seconds").get<double>();
        entry.report = json.at("report").get<std::string>();
        // Older lines have none of these two.
        entry.errors = json.value("errors", std::size_t{0});
        entry.pictures = json.value("pictures", std::vector<std::string>());
        entry.faults = json.at("faults").get<std::size_t>();
        for (const Json& step : json.at("steps")) {
            entry.steps.push_back(stepOf(step));
        }
        return entry;
    } catch (const Json::exception&) {
        return std::nullopt;
    }
}

}  // namespace

HistoryEntry historyEntry(const PlanResult& result, const std::string& report) {
    HistoryEntry entry;
    entry.when = isoTime(result.start);
    entry.plan = result.plan->name;
    entry.file = result.plan->file;
    entry.verdict = verdictName(result.verdict());
    const RunCounts counts(result);
    entry.passed = counts.passed;
    entry.marginal = counts.marginal;
    entry.failed = counts.failed;
    entry.errors = counts.errors;
    entry.interrupted = counts.interrupted;
    entry.notRun = counts.notRun;
    entry.seconds = result.seconds;
    entry.report = fs::path(report).filename().string();
    entry.pictures = result.pictures();
    entry.faults = result.plan->faults.size();
    for (std::size_t i = 0; i < result.steps.size(); ++i) {
        const StepResult& step = result.steps[i];
        entry.steps.push_back({beginningOf(result.plan->steps[i].name, kToldBytes), verdictName(step.verdict()),
                               step.seconds(), measurementsOf(step)});
    }
    return entry;
}

Json toJson(const HistoryEntry& entry) {
    Json json = {{"id", entry.id},
                 {"when", entry.when},
                 {"plan", entry.plan},
                 {"file", entry.file},
                 {"verdict", entry.verdict},
                 {"passed", entry.passed},
                 {"marginal", entry.marginal},
                 {"failed", entry.failed},
                 {"errors", entry.errors},
                 {"interrupted", entry.interrupted},
                 {"not_run", entry.notRun},
                 {"seconds", entry.seconds},
                 {"report", entry.report},
                 {"pictures", entry.pictures},
                 {"faults", entry.faults},
                 {"steps", Json::array()}};
    for (const HistoryStep& step : entry.steps) {
        json["steps"].push_back(toJson(step));
    }
    return json;
}

RunHistory::RunHistory(const std::string& folder) : _file((fs::path(folder) / "history.jsonl").string()) {}

void RunHistory::add(HistoryEntry entry, std::size_t most) const {
    const FolderLock lock(fs::path(_file).parent_path().string());
    std::vector<std::string> all = lines();
    const std::size_t before = all.size();
    const std::size_t first = before + 1 - std::min(before + 1, most);
    std::vector<HistoryEntry> forgotten;
    std::set<std::string> kept = {entry.report};
    unsigned int last = 0;
    for (std::size_t i = 0; i < before; ++i) {
        if (std::optional<HistoryEntry> old = entryOf(all[i])) {
            last = std::max(last, old->id);
            i < first ? forgotten.push_back(std::move(*old)) : static_cast<void>(kept.insert(old->report));
        }
    }
    entry.id = last + 1;
    all.push_back(jsonLine(toJson(entry)));
    std::string text;
    for (std::size_t i = first; i < all.size(); ++i) {
        text += all[i] + '\n';
    }
    replaceFile(_file, text);
    removeReports(forgotten, kept);
}

// A run that was resumed has the report of its beginning, and one that can be has it still to come.
void RunHistory::removeReports(const std::vector<HistoryEntry>& forgotten, const std::set<std::string>& kept) const {
    for (const HistoryEntry& entry : forgotten) {
        const std::string stem = (fs::path(_file).parent_path() / fs::path(entry.report).filename()).string();
        if (kept.count(entry.report) != 0 || access(UnfinishedRun::fileOf(stem).c_str(), F_OK) == 0) {
            continue;
        }
        for (const std::string& file : filesOfReport(stem, entry.pictures)) {
            unlink(file.c_str());
        }
    }
}

std::vector<HistoryEntry> RunHistory::entries() const {
    std::vector<HistoryEntry> found;
    std::size_t number = 0;
    for (const std::string& line : lines()) {
        ++number;
        if (std::optional<HistoryEntry> entry = entryOf(line)) {
            found.push_back(std::move(*entry));
        } else {
            printMessage(_file + ":" + std::to_string(number) + ": is damaged, left out");
        }
    }
    return found;
}

std::vector<std::string> RunHistory::lines() const {
    {
        std::error_code error;
        if (!fs::exists(_file, error)) {
            return {};
        }
    }
    const std::string text = OpenFile(_file, O_RDONLY).read();
    std::vector<std::string> all;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        all.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return all;
}

}  // namespace tool
