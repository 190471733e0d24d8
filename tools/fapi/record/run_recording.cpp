// SPDX-License-Identifier: Apache-2.0
// What a run has come to, as the results store keeps it.
#include "record/run_recording.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include <unistd.h>

#include "base/decimal.h"
#include "base/login.h"
#include "protocol/characters.h"
#include "protocol/sha256.h"
#include "record/identity.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// Of a step; its rows have numbers of their own.
constexpr long long kMostAnswers = 10000;

std::string thisHost() {
    char name[256] = "";
    gethostname(name, sizeof(name) - 1);
    return name[0] == '\0' ? "localhost" : name;
}

// "sys_get_emmc_env_var", "set pixel"
std::string nameOfCommand(const Json& command) {
    // The rest of a long line is cut off, perhaps within quotes.
    std::istringstream words(command["command"].get<std::string>());
    std::string first, second;
    words >> first >> second;
    return first == "set" ? first + " " + second : first;
}

// "sys_get_emmc_env_var length"; a second one of that name in a step gets its number.
std::string measurementName(const std::string& name, const std::vector<MeasurementRecord>& taken) {
    const auto isOfName = [&](const MeasurementRecord& other) {
        return other.name == name || other.name.rfind(name + " (", 0) == 0;
    };
    const auto before = std::count_if(taken.begin(), taken.end(), isOfName);
    return before == 0 ? name : name + " (" + std::to_string(before + 1) + ")";
}

std::optional<double> numberIn(const Json& json, const char* name) {
    const auto found = json.find(name);
    return found != json.end() && found->is_number() ? std::optional(found->get<double>()) : std::nullopt;
}

// How far the value of a list that is nearest to an end of its limits is from there; negative beyond it. Nothing where
// there is no limit, or one for another number of values.
std::optional<double> distanceFromLimits(const Json& measured) {
    const Json& values = measured.at("values");
    const Json& limits = measured.at("limits");
    std::optional<double> nearest;
    for (std::size_t i = 0; i < values.size() && (limits.size() == 1 || limits.size() == values.size()); ++i) {
        const Json& limit = limits[limits.size() == 1 ? 0 : i];
        const double value = values[i].get<double>();
        for (const auto& [end, sign] : {std::pair("low", 1.0), std::pair("high", -1.0)}) {
            if (const std::optional<double> bound = numberIn(limit, end)) {
                const double distance = withoutNoise(sign * (value - *bound));
                nearest = std::min(nearest.value_or(distance), distance);
            }
        }
    }
    return nearest;
}

// What was measured, without its place.
MeasurementRecord measurementOf(const Json& measured) {
    MeasurementRecord row;
    row.value = numberIn(measured, "value");
    row.low = numberIn(measured, "low");
    row.high = numberIn(measured, "high");
    row.margin = numberIn(measured, "margin");
    const bool isIn = row.value && (!row.low || *row.value >= *row.low) && (!row.high || *row.value <= *row.high);
    row.verdict = measured.value("verdict", verdictName(isIn ? Verdict::passed : Verdict::failed));
    row.unit = measured.value("unit", "");
    if (const auto values = measured.find("values"); values != measured.end()) {
        row.value = distanceFromLimits(measured);
        row.low = row.value ? std::optional(0.0) : std::nullopt;
        std::string text;
        for (const Json& value : *values) {
            text += (text.empty() ? "" : " ") + decimalText(value.get<double>());
        }
        row.text = beginningOf(text, kKeptBytes);
    } else if (measured.contains("text")) {
        row.text = measured["text"].get<std::string>();
    }
    return row;
}

std::vector<MeasurementRecord> measurementsOf(const Attempt& attempt) {
    std::vector<MeasurementRecord> found;
    for (const Json& command : attempt.commands) {
        for (const Json& expectation : command.value("expectations", Json::array())) {
            for (const Json& measured : expectation.value("measurements", Json::array())) {
                MeasurementRecord row = measurementOf(measured);
                row.name =
                    measured.contains("name")
                        ? measured["name"].get<std::string>()
                        : measurementName(nameOfCommand(command) + " " + measured["what"].get<std::string>(), found);
                found.push_back(std::move(row));
            }
        }
    }
    return found;
}

// The clock of attempts knows no date.
WallTime wallTimeOf(Clock::time_point time) {
    return std::chrono::system_clock::now() +
           std::chrono::duration_cast<std::chrono::system_clock::duration>(time - Clock::now());
}

std::string storedVerdict(Verdict verdict) {
    return verdictName(verdict == Verdict::died ? Verdict::failed : verdict);
}

void addAttempt(RunParts& parts, const StepRecord& step, const StepResult& result, std::size_t index) {
    const Attempt& attempt = result.attempts[index];
    AttemptRecord row;
    row.run = step.run;
    row.step = step.number;
    row.number = static_cast<long long>(index) + 1;
    row.final = index + 1 == result.attempts.size() ? 1 : 0;
    row.verdict = storedVerdict(attempt.judgement.verdict);
    row.text = beginningOf(attempt.judgement.text, kKeptBytes);
    row.began = utcText(wallTimeOf(attempt.start));
    row.log = beginningOf(attempt.log, kKeptBytes);
    row.seconds = attempt.seconds;
    for (MeasurementRecord& measurement : measurementsOf(attempt)) {
        measurement.run = step.run;
        measurement.step = step.number;
        measurement.attempt = row.number;
        measurement.number = static_cast<long long>(parts.measurements.size());
        measurement.final = row.final;
        measurement.at = row.began;
        parts.measurements.push_back(std::move(measurement));
    }
    parts.attempts.push_back(std::move(row));
}

// What a person was asked, and has answered, in all attempts.
void addAnswers(RunParts& parts, const StepRecord& step, const StepResult& result) {
    long long number = 0;
    for (const Attempt& attempt : result.attempts) {
        for (const Json& command : attempt.commands) {
            for (const Json& answer : command.value("operator", Json::array())) {
                EventRecord row;
                row.run = step.run;
                row.number = step.number * kMostAnswers + number++;
                row.step = step.number;
                row.at = utcText(wallTimeOf(attempt.start));
                row.name = "operator";
                row.data = jsonLine(answer);
                if (number <= kMostAnswers) {
                    parts.events.push_back(std::move(row));
                }
            }
        }
    }
}

RunParts partsOfStep(const RunRecord& run, const Plan& plan, std::size_t index, const StepResult& result) {
    RunParts parts;
    StepRecord step;
    step.run = run.id;
    step.number = static_cast<long long>(index);
    step.name = beginningOf(plan.nameAt(index), kToldBytes);
    step.verdict = storedVerdict(result.verdict());
    step.text = beginningOf(result.text(), kKeptBytes);
    step.teardown = plan.stepAt(index).teardown ? 1 : 0;
    step.seconds = result.seconds();
    for (std::size_t i = 0; i < result.attempts.size(); ++i) {
        addAttempt(parts, step, result, i);
    }
    addAnswers(parts, step, result);
    parts.steps.push_back(std::move(step));
    return parts;
}

// The step that the verdict of the run comes from: the first bad one, or the first that was only just good.
void addDecidingStep(RunRecord& run, const PlanResult& result) {
    const Verdict verdict = result.verdict();
    for (std::size_t i = 0; verdict != Verdict::passed && i < result.steps.size(); ++i) {
        const StepResult& step = result.steps[i];
        if (storedVerdict(step.verdict()) == verdictName(verdict)) {
            run.decidingStep = beginningOf(result.plan->nameAt(i), kToldBytes);
            run.why = beginningOf(step.text(), kKeptBytes);
            return;
        }
    }
}

std::string sumOf(const std::string& text) {
    Sha256 sum;
    sum.add(text.data(), text.size());
    return sum.sum();
}

// A file of a run; the hash is empty when it cannot be read.
AttachmentRecord attachmentOf(const std::string& run, long long step, const KeptFile& kept, const fs::path& folder) {
    AttachmentRecord row;
    row.run = run;
    row.step = step;
    row.kind = kept.kind;
    row.name = kept.name;
    row.file = kept.file;
    std::ifstream stream(folder / kept.file, std::ios::binary);
    std::vector<char> piece(1u << 16);
    Sha256 sum;
    while (stream.read(piece.data(), static_cast<std::streamsize>(piece.size())) || stream.gcount() > 0) {
        sum.add(piece.data(), static_cast<std::size_t>(stream.gcount()));
        row.bytes += stream.gcount();
    }
    row.hash = stream.eof() ? sum.sum() : "";
    return row;
}

RunRecord newRunRecord(const Plan& plan, const RunFacts& facts) {
    RunRecord run;
    const WallTime now = std::chrono::system_clock::now();
    run.id = newRunId(now);
    run.began = utcText(now);
    run.utcOffset = utcOffsetAt(now);
    run.host = thisHost();
    run.station = facts.station.empty() ? run.host : facts.station;
    run.stage = facts.stage;
    run.person = facts.person.empty() ? loginName() : facts.person;
    if (!facts.unit.empty()) {
        run.unit = facts.unit;
    }
    run.plan = plan.name;
    run.planFile = plan.file;
    run.planHash = sumOf(jsonLine(whatDecides(plan, facts)));
    run.parameters = jsonLine(Json(facts.parameters.empty() ? Json::object() : Json(facts.parameters)));
    run.target = facts.target;
    run.set = facts.set;
    run.library = facts.library;
    run.agent = facts.agent;
    run.bench = FAPI_VERSION;
    run.faults = static_cast<long long>(plan.faults.size());
    run.report = fs::path(facts.report).filename().string();
    if (!facts.waiver.empty()) {
        run.waivedBy = run.person;
        run.waiver = facts.waiver;
    }
    return run;
}

}  // namespace

Json whatDecides(const Plan& plan, const RunFacts& facts) {
    return {{"plan", plan.hash},         {"limits", facts.limits},
            {"faults", plan.faultsHash}, {"station's bindings", sumOf(facts.bindings)},
            {"library", facts.library},  {"agent", facts.agent},
            {"bench", FAPI_VERSION}};
}

RunRecording::RunRecording(ResultsWriter& writer, const Plan& plan, const RunFacts& facts)
    : _writer(writer),
      _plan(plan),
      _run(newRunRecord(plan, facts)),
      _folder(fs::path(facts.report).parent_path().string()),
      _approval(facts.waiver),
      _stored(plan.size(), 0) {
    _writer.begin(_run);
}

RunRecording::~RunRecording() {
    if (!_isEnded) {
        _writer.discard(_run);
    }
}

void RunRecording::endStep(std::size_t index, const StepResult& step) {
    RunParts parts = partsOfStep(_run, _plan, index, step);
    parts.replaces = _stored[index] != 0;
    _stored[index] = 1 + step.attempts.size();
    _writer.add(std::move(parts));
}

void RunRecording::conclude(const PlanResult& result) {
    const RunCounts counts(result);
    const auto number = [](std::size_t count) { return static_cast<long long>(count); };
    _run.ended = utcText(std::chrono::system_clock::now());
    _run.seconds = result.seconds;
    _run.verdict = verdictName(result.verdict());
    _run.passed = number(counts.passed);
    _run.marginal = number(counts.marginal);
    _run.failed = number(counts.failed);
    _run.errors = number(counts.errors);
    _run.interrupted = number(counts.interrupted);
    _run.notRun = number(counts.notRun);
    _run.skipped = number(counts.skipped);
    _run.inCalls = result.times.calls;
    _run.inWaits = result.times.waits;
    addDecidingStep(_run, result);
    if (const std::string reason = result.waiver(); !reason.empty()) {
        _run.waivedBy = _run.person;
        _run.waiver = (_run.waiver ? *_run.waiver + "; " : "") + reason;
    }
}

void RunRecording::end(const PlanResult& result, const std::vector<std::string>& files) {
    for (std::size_t i = 0; i < result.steps.size(); ++i) {
        const bool isStored = result.steps[i].isFolded || _stored[i] == 1 + result.steps[i].attempts.size();
        if (!isStored && result.isListed(i)) {
            endStep(i, result.steps[i]);
        }
    }
    addAttachments(result, files);
    addWaivers(result);
    _isEnded = true;
    _writer.end(_run);
}

void RunRecording::addAttachments(const PlanResult& result, const std::vector<std::string>& files) {
    RunParts parts;
    std::set<std::string> known;
    const auto add = [&](const KeptFile& kept, long long step) {
        if (known.insert(kept.file).second) {
            parts.attachments.push_back(attachmentOf(_run.id, step, kept, _folder));
            parts.attachments.back().number = static_cast<long long>(parts.attachments.size()) - 1;
        }
    };
    for (std::size_t i = 0; i < result.steps.size(); ++i) {
        for (const KeptFile& kept : result.steps[i].files()) {
            add(kept, static_cast<long long>(i));
        }
    }
    for (const std::string& file : files) {
        const std::string name = fs::path(file).filename().string();
        add({kReportFile, name, name}, kNoStep);
    }
    _writer.add(std::move(parts));
}

// What somebody has let pass is a record of its own.
void RunRecording::addWaivers(const PlanResult& result) {
    RunParts parts;
    const auto add = [&](long long step, const std::string& what) {
        EventRecord row;
        row.run = _run.id;
        row.number = static_cast<long long>(parts.events.size());
        row.step = step;
        row.at = _run.ended.value_or(_run.began);
        row.name = "waiver";
        row.data = jsonLine({{"by", _run.person}, {"reason", what}});
        parts.events.push_back(std::move(row));
    };
    if (!_approval.empty()) {
        add(kNoStep, _approval);
    }
    for (std::size_t i = 0; i < result.steps.size(); ++i) {
        if (const std::string* reason = result.waiverOf(i)) {
            add(static_cast<long long>(i), *reason);
        }
    }
    _writer.add(std::move(parts));
}

}  // namespace tool
