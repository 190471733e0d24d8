// SPDX-License-Identifier: Apache-2.0
// What came of a run: its attempts, steps and verdict.
#include "record/result.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace tool {

namespace {

namespace fs = std::filesystem;

// Whether the step has that name, as it is written or as the run has it.
bool isNamed(const Plan& plan, std::size_t step, const std::string& name) {
    return plan.stepAt(step).name == name || plan.nameAt(step) == name;
}

// What the commands of all attempts have there.
void addAllOf(const StepResult& step, const char* what, std::vector<Json>& found) {
    for (const Attempt& attempt : step.attempts) {
        for (const Json& command : attempt.commands) {
            if (command.contains(what)) {
                found.push_back(command[what]);
            }
        }
    }
}

}  // namespace

double StepResult::seconds() const {
    if (attempts.empty()) {
        return foldedSeconds;
    }
    const Attempt& last = attempts.back();
    return std::chrono::duration<double>(last.start - attempts.front().start).count() + last.seconds;
}

void StepResult::fold() {
    if (attempts.size() == 1 && verdict() == Verdict::passed && files().empty()) {
        foldedSeconds = static_cast<float>(seconds());
        isFolded = true;
        attempts = {};
    }
}

Json StepResult::kept(const char* what) const {
    Json all = Json::array();
    if (attempts.empty()) {
        return all;
    }
    for (const Json& command : attempts.back().commands) {
        if (command.contains(what)) {
            all.push_back(command[what]);
        }
    }
    return all;
}

Json StepResult::measurements() const {
    Json all = Json::array();
    for (const Json& expectations : kept("expectations")) {
        for (const Json& expectation : expectations) {
            for (const Json& measured : expectation.value("measurements", Json::array())) {
                if (measured.contains("name")) {
                    all.push_back(measured);
                }
            }
        }
    }
    return all;
}

Json StepResult::refusals() const {
    Json all = Json::array();
    for (const Json& refusals : kept("refusals")) {
        all.insert(all.end(), refusals.begin(), refusals.end());
    }
    return all;
}

std::size_t PlanResult::count(Verdict verdict) const {
    return static_cast<std::size_t>(
        std::count_if(steps.begin(), steps.end(), [&](const StepResult& step) { return step.verdict() == verdict; }));
}

bool PlanResult::isListed(std::size_t step) const {
    const Verdict verdict = steps[step].verdict();
    return step < kListedSteps || (verdict != Verdict::passed && verdict != Verdict::notRun);
}

std::size_t PlanResult::unlisted() const {
    std::size_t count = 0;
    for (std::size_t i = kListedSteps; i < steps.size(); ++i) {
        count += isListed(i) ? 0 : 1;
    }
    return count;
}

Verdict PlanResult::verdict() const {
    if (cutShort || count(Verdict::interrupted) != 0) {
        return Verdict::interrupted;
    }
    if (count(Verdict::error) != 0) {
        return Verdict::error;
    }
    if (!isGood() || !unexpected().empty()) {
        return Verdict::failed;
    }
    return count(Verdict::marginal) != 0 ? Verdict::marginal : Verdict::passed;
}

bool PlanResult::isGood() const {
    return count(Verdict::passed) + count(Verdict::marginal) + count(Verdict::skipped) == steps.size();
}

const std::string* PlanResult::waiverOf(std::size_t step) const {
    const auto found = std::find_if(waivers.begin(), waivers.end(),
                                    [&](const Waiver& waiver) { return isNamed(*plan, step, waiver.step); });
    return steps[step].verdict() == Verdict::failed && found != waivers.end() ? &found->reason : nullptr;
}

const ExpectedFailure* PlanResult::expectedAt(std::size_t step) const {
    const auto found = std::find_if(expected.begin(), expected.end(),
                                    [&](const ExpectedFailure& failure) { return isNamed(*plan, step, failure.step); });
    return found == expected.end() ? nullptr : &*found;
}

std::vector<std::string> PlanResult::unexpected() const {
    std::vector<std::string> found;
    for (std::size_t i = 0; !expected.empty() && i < steps.size(); ++i) {
        const ExpectedFailure* failure = expectedAt(i);
        const Verdict verdict = steps[i].verdict();
        if (failure == nullptr ? isBad(verdict) : verdict != failure->verdict) {
            found.push_back(
                "\"" + plan->nameAt(i) + "\": " + verdictName(verdict) + ", expected " +
                (failure == nullptr ? "to pass" : verdictName(failure->verdict) + (": " + failure->reason)));
        }
    }
    return found;
}

std::string PlanResult::waiver() const {
    std::string text;
    if (!expected.empty()) {
        for (const ExpectedFailure& failure : unexpected().empty() ? expected : std::vector<ExpectedFailure>()) {
            text += (text.empty() ? "expected of this unit: " : "; ") + failure.step + ": " + failure.reason;
        }
        return text;
    }
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (isBad(steps[i].verdict()) && !isWaived(i)) {
            return "";
        }
    }
    for (const Waiver& waiver : waivers) {
        for (std::size_t i = 0; i < steps.size(); ++i) {
            if (isWaived(i) && isNamed(*plan, i, waiver.step)) {
                text += (text.empty() ? "" : "; ") + waiver.step + ": " + waiver.reason;
                break;
            }
        }
    }
    return text;
}

RunCounts::RunCounts(const PlanResult& result)
    : passed(result.count(Verdict::passed)),
      marginal(result.count(Verdict::marginal)),
      failed(result.count(Verdict::failed) + result.count(Verdict::died)),
      errors(result.count(Verdict::error)),
      interrupted(result.count(Verdict::interrupted)),
      notRun(result.count(Verdict::notRun)),
      skipped(result.count(Verdict::skipped)) {}

std::vector<std::string> PlanResult::notes() const {
    std::vector<Json> notes;
    for (const StepResult& step : steps) {
        addAllOf(step, "note", notes);
    }
    return {notes.begin(), notes.end()};
}

void addKeptFiles(const Json& command, std::vector<KeptFile>& files) {
    const auto add = [&](const char* kind, const Json& file) {
        files.push_back({kind, file.at("name").get<std::string>(), file.at("file").get<std::string>()});
    };
    if (const auto picture = command.find("picture"); picture != command.end()) {
        add(kPicture, *picture);
    }
    for (const Json& attached : command.value("attachments", Json::array())) {
        add(kAttached, attached);
    }
}

std::vector<KeptFile> StepResult::files() const {
    std::vector<KeptFile> found;
    for (const Attempt& attempt : attempts) {
        for (const Json& command : attempt.commands) {
            addKeptFiles(command, found);
        }
    }
    return found;
}

std::vector<std::string> PlanResult::files() const {
    std::set<std::string> names;
    for (const StepResult& step : steps) {
        for (const KeptFile& kept : step.files()) {
            names.insert(kept.file);
        }
    }
    return {names.begin(), names.end()};
}

std::vector<std::string> filesOfReport(const std::string& stem, const std::vector<std::string>& ofSteps) {
    std::vector<std::string> files;
    for (const char* extension : kReportExtensions) {
        files.push_back(stem + extension);
    }
    const fs::path path(stem);
    for (const std::string& name : ofSteps) {
        if (name.rfind(path.filename().string() + "-", 0) == 0 && name.find('/') == std::string::npos) {
            files.push_back((path.parent_path() / name).string());
        }
    }
    const auto isMissing = [](const std::string& file) {
        std::error_code error;
        return !fs::is_regular_file(fs::symlink_status(file, error));
    };
    files.erase(std::remove_if(files.begin(), files.end(), isMissing), files.end());
    return files;
}

}  // namespace tool
