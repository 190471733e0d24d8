// SPDX-License-Identifier: Apache-2.0
// Reports as files.
#include "report/report.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <pugixml.hpp>

#include "base/durable_file.h"
#include "base/report_text.h"
#include "protocol/characters.h"
#include "record/identity.h"
#include "report/html.h"
#include "report/measured_text.h"
#include "report/page.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr char kJson[] = ".json";
// In a time like "2026-02-14T10:15:30+01:00".
constexpr std::size_t kZonePlace = 19;

std::string secondsText(double seconds) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.6f", seconds);
    return text;
}

std::string hostName() {
    char name[256] = {};
    return gethostname(name, sizeof(name) - 1) == 0 ? name : "";
}

class JUnitReport : public Report {
public:
    const char* extension() const override { return ".xml"; }

    void tell(const PlanResult& result, const std::string& /*folder*/, const TextSink& sink) const override {
        pugi::xml_document document;
        document.append_child(pugi::node_declaration).append_attribute("version") = "1.0";
        pugi::xml_node suite = document.append_child("testsuites").append_child("testsuite");
        attribute(suite, "name", result.plan->name);
        attribute(suite, "file", result.plan->file);
        attribute(suite, "hostname", hostName());
        attribute(suite, "timestamp", isoTime(result.start));
        suite.append_attribute("tests") = result.steps.size();
        suite.append_attribute("failures") = result.count(Verdict::failed);
        suite.append_attribute("errors") =
            result.count(Verdict::error) + result.count(Verdict::died) + result.count(Verdict::interrupted);
        suite.append_attribute("skipped") = result.count(Verdict::notRun) + result.count(Verdict::skipped);
        suite.append_attribute("time") = secondsText(result.seconds).c_str();
        addProperty(suite, "verdict", verdictName(result.verdict()));
        addRecord(suite, result);
        for (std::size_t i = 0; i < result.steps.size(); ++i) {
            if (result.isListed(i)) {
                addStep(suite, *result.plan, i, result.steps[i]);
            }
        }
        SinkWriter writer(sink);
        document.save(writer, "  ");
    }

private:
    static void addRecord(pugi::xml_node suite, const PlanResult& result) {
        if (result.record == nullptr) {
            return;
        }
        const RunRecord& run = *result.record;
        addProperty(suite, "run", run.id);
        addProperty(suite, "unit", run.unit.value_or(""));
        addProperty(suite, "attempt", std::to_string(run.attempt));
        const Json values = Json::parse(run.parameters);
        for (const auto& [name, value] : values.items()) {
            addProperty(suite, ("parameter." + name).c_str(), value.get<std::string>());
        }
        addProperty(suite, "station", run.station);
        addProperty(suite, "stage", run.stage);
        addProperty(suite, "operator", run.person);
        addProperty(suite, "zone", localText(run.began, run.utcOffset).substr(kZonePlace));
        if (run.waiver) {
            addProperty(suite, "waived-by", run.waivedBy.value_or(""));
            addProperty(suite, "waiver", *run.waiver);
        }
    }

    static void addStep(pugi::xml_node suite, const Plan& plan, std::size_t index, const StepResult& result) {
        const Step& step = plan.stepAt(index);
        pugi::xml_node test = suite.append_child("testcase");
        attribute(test, "classname", plan.name);
        attribute(test, "name", plan.nameAt(index));
        attribute(test, "file", step.file.empty() ? plan.file : step.file);
        test.append_attribute("line") = step.line;
        test.append_attribute("time") = secondsText(result.seconds()).c_str();
        if (result.verdict() == Verdict::marginal) {
            addProperty(test, "marginal", result.text());
        }
        if (result.attempts.size() > 1) {
            addProperty(test, "attempts", std::to_string(result.attempts.size()));
        }
        for (const Json& refusal : result.refusals()) {
            addProperty(test, "refused", refusal["text"].get<std::string>());
        }
        for (const Json& measured : result.measurements()) {
            addProperty(test, ("measurement." + measured["name"].get<std::string>()).c_str(), measuredText(measured));
        }
        for (const Json& picture : result.kept("picture")) {
            addProperty(test, "picture", picture["file"].get<std::string>());
        }
        if (result.verdict() == Verdict::notRun) {
            pugi::xml_node skipped = test.append_child("skipped");
            if (!result.text().empty()) {
                attribute(skipped, "message", result.text());
            }
        } else if (result.verdict() == Verdict::skipped) {
            attribute(test.append_child("skipped"), "message", result.text());
        } else if (isBad(result.verdict())) {
            addFailure(test, result);
        }
    }

    static void addFailure(pugi::xml_node test, const StepResult& result) {
        pugi::xml_node failure = test.append_child(result.verdict() == Verdict::failed ? "failure" : "error");
        attribute(failure, "type", verdictName(result.verdict()));
        attribute(failure, "message", result.text());
        std::string texts, log;
        for (const Attempt& attempt : result.attempts) {
            texts += attempt.judgement.text + "\n";
            log += attempt.log;
        }
        text(failure, texts);
        if (!log.empty()) {
            text(test.append_child("system-out"), log);
        }
    }

    static void addProperty(pugi::xml_node node, const char* name, const std::string& value) {
        pugi::xml_node before = node.child("properties");
        pugi::xml_node property = (before ? before : node.prepend_child("properties")).append_child("property");
        property.append_attribute("name") = name;
        attribute(property, "value", value);
    }

    static void attribute(pugi::xml_node node, const char* name, const std::string& value) {
        node.append_attribute(name) = xmlText(beginningOf(value, kAttributeBytes)).c_str();
    }
    static void text(pugi::xml_node node, const std::string& value) {
        node.append_child(pugi::node_pcdata).set_value(xmlText(beginningOf(value, kKeptBytes)).c_str());
    }

    // Servers show attributes on one line.
    static constexpr std::size_t kAttributeBytes = 1000;
};

class JsonReport : public Report {
public:
    const char* extension() const override { return kJson; }

    void tell(const PlanResult& result, const std::string& /*folder*/, const TextSink& sink) const override {
        Json json = {{"schema", kSchemaVersion},
                     {"run", result.record != nullptr ? recordJson(*result.record) : Json(nullptr)},
                     {"plan", result.plan->name},
                     {"file", result.plan->file},
                     {"start", isoTime(result.start)},
                     {"seconds", result.seconds},
                     {"times",
                      {{"calls", result.times.calls},
                       {"waits", result.times.waits},
                       {"rest", std::max(0.0, result.seconds - result.times.calls - result.times.waits)}}},
                     {"unlisted", result.unlisted()},
                     {"unexpected", result.unexpected()},
                     {"set", result.setFolder},
                     {"good", result.isGood()},
                     {"verdict", verdictName(result.verdict())},
                     {"resumed", result.resumed},
                     {"notes", result.notes()},
                     {"faults", Json::array()},
                     {"steps", Json::array()}};
        for (const PlanFault& fault : result.plan->faults) {
            json["faults"].push_back(fault.text());
        }
        const std::string frame = jsonText(json, kIndent);
        const std::size_t place = frame.find(kNoSteps) + std::strlen(kNoSteps) - 1;
        sink(frame.substr(0, place));
        tellSteps(result, sink);
        sink(frame.substr(place) + '\n');
    }

private:
    static constexpr int kIndent = 2;
    static constexpr char kNoSteps[] = "\n  \"steps\": []";

    // One by one, for the values of all of them take more memory than all else of a run.
    static void tellSteps(const PlanResult& result, const TextSink& sink) {
        const char* between = "";
        for (std::size_t i = 0; i < result.steps.size(); ++i) {
            if (result.isListed(i)) {
                Json step = stepJson(*result.plan, i, result.steps[i]);
                const std::string* reason = result.waiverOf(i);
                step["waived"] = reason != nullptr ? Json(*reason) : Json(nullptr);
                sink(between + indented("\n" + jsonText(step, kIndent)));
                between = ",";
            }
        }
        sink(result.steps.empty() ? "" : "\n  ");
    }

    // Two levels deeper, for within a text no line ends.
    static std::string indented(const std::string& lines) {
        std::string text;
        for (const char c : lines) {
            text += c;
            text.append(c == '\n' ? 2 * kIndent : 0, ' ');
        }
        return text;
    }

    // docs/record.schema.json describes it.
    static constexpr int kSchemaVersion = 1;

    static Json recordJson(const RunRecord& run) {
        return {
            {"id", run.id},
            {"number", run.number},
            {"unit", run.unit ? Json(*run.unit) : Json(nullptr)},
            {"attempt", run.attempt},
            {"parameters", Json::parse(run.parameters)},
            {"plan", {{"name", run.plan}, {"file", run.planFile}, {"sha256", run.planHash}}},
            {"target", {{"kind", run.target}, {"set", run.set}}},
            {"versions", {{"library", run.library}, {"agent", run.agent}, {"bench", run.bench}}},
            {"station", run.station},
            {"stage", run.stage},
            {"operator", run.person},
            {"host", run.host},
            {"began", run.began},
            {"ended", run.ended.value_or("")},
            {"utc_offset_minutes", run.utcOffset},
            {"verdict", run.verdict.value_or("")},
            {"deciding_step", run.decidingStep},
            {"why", run.why},
            {"waiver", run.waiver ? Json({{"by", run.waivedBy.value_or("")}, {"text", *run.waiver}}) : Json(nullptr)}};
    }

    static Json stepJson(const Plan& plan, std::size_t index, const StepResult& result) {
        const Step& step = plan.stepAt(index);
        Json json = {{"name", beginningOf(plan.nameAt(index), kKeptBytes)},
                     {"file", step.file.empty() ? plan.file : step.file},
                     {"line", step.line},
                     {"teardown", step.teardown},
                     {"verdict", verdictName(result.verdict())},
                     {"text", result.text()},
                     {"seconds", result.seconds()},
                     {"pictures", result.kept("picture")},
                     {"data", result.kept("data")},
                     {"measurements", result.measurements()},
                     {"refusals", result.refusals()},
                     {"attempts", Json::array()}};
        for (const Attempt& attempt : result.attempts) {
            json["attempts"].push_back({{"verdict", verdictName(attempt.judgement.verdict)},
                                        {"text", attempt.judgement.text},
                                        {"seconds", attempt.seconds},
                                        {"commands", attempt.commands}});
            if (!attempt.log.empty()) {
                json["attempts"].back()["log"] = attempt.log;
            }
        }
        return json;
    }
};

bool isTaken(const std::string& stem) {
    const std::vector<std::unique_ptr<Report>> kinds = reports();
    return std::any_of(kinds.begin(), kinds.end(), [&](const std::unique_ptr<Report>& report) {
        std::error_code error;
        return fs::exists(stem + report->extension(), error);
    });
}

// What the names of files have of a serial number: "-A-0815".
std::string nameOfUnit(const std::string& unit) {
    constexpr std::size_t kLongest = 64;
    std::string name = (unit.empty() ? "" : "-") + unit.substr(0, kLongest);
    const auto isPlain = [](unsigned char c) { return std::isalnum(c) != 0 || c == '-' || c == '.' || c == '_'; };
    std::replace_if(
        name.begin(), name.end(), [&](char c) { return !isPlain(static_cast<unsigned char>(c)); }, '_');
    return name;
}

// A descriptor that has the file locked, or -1 when it is gone already. With O_EXCL also when it is there.
int lockFile(const std::string& file, int flags) {
    const int descriptor = open(file.c_str(), flags | O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        return errno == EEXIST ? -1 : throw writeError(file, errno);
    }
    struct stat status = {};
    flock(descriptor, LOCK_EX);
    if (fstat(descriptor, &status) == 0 && status.st_nlink != 0) {
        return descriptor;
    }
    close(descriptor);
    return -1;
}

}  // namespace

std::vector<std::unique_ptr<Report>> reports() {
    std::vector<std::unique_ptr<Report>> all;
    all.push_back(std::make_unique<JUnitReport>());
    all.push_back(std::make_unique<JsonReport>());
    all.push_back(htmlReport());
    return all;
}

void prepareReportFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error || !fs::is_directory(folder, error) || access(folder.c_str(), W_OK | X_OK) != 0) {
        throw SetError(folder + ": reports cannot be written there");
    }
}

ReportFiles::ReportFiles(const Plan& plan, const std::string& folder, const std::string& unit) {
    const std::string first = (fs::path(folder) / fs::path(plan.file).stem()).string() + nameOfUnit(unit) +
                              timeText(std::chrono::system_clock::now(), "-%Y%m%d-%H%M%S");
    _stem = first;
    for (int number = 2; isTaken(_stem) || (_lock = lockFile(_stem + kJson, O_EXCL)) < 0; ++number) {
        _stem = first + "-" + std::to_string(number);
    }
}

ReportFiles::ReportFiles(const std::string& stem) : _stem(stem), _written(true) {
    while ((_lock = lockFile(_stem + kJson, 0)) < 0) {
    }
}

ReportFiles::~ReportFiles() {
    if (!_written) {
        unlink((_stem + kJson).c_str());
    }
    close(_lock);
}

std::vector<std::string> ReportFiles::write(const PlanResult& result, std::vector<std::string>& problems) {
    const std::string folder = fs::path(_stem).parent_path().string();
    std::vector<std::string> files;
    for (const std::unique_ptr<Report>& report : reports()) {
        const std::string file = _stem + report->extension();
        try {
            writeFile(file, [&](const TextSink& sink) { report->tell(result, folder, sink); });
            files.push_back(file);
        } catch (const FileError& error) {
            problems.emplace_back(error.what());
        }
    }
    _written = true;
    return files;
}

}  // namespace tool
