// SPDX-License-Identifier: Apache-2.0
// Runs that can be resumed, as files.
#include "record/unfinished_run.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

#include "base/terminal.h"
#include "target/session.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr char kExtension[] = ".unfinished";

std::string absolutePath(const std::string& path) {
    std::error_code error;
    const fs::path canonical = fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? path : canonical.string();
}

bool isSet(const std::string& folder) {
    return access((folder + "/set.json").c_str(), F_OK) == 0;
}

bool isTarget(const SetOfRun& set) {
    return set.kind == SetOfRun::Kind::target;
}

SetOfRun absolute(const SetOfRun& set) {
    return isTarget(set) ? set : SetOfRun{absolutePath(set.name), set.kind};
}

// Whether a run that was on the set `had` may go on. Without a name any virtual set is wanted.
bool isMeant(const SetOfRun& wanted, const SetOfRun& had) {
    return isTarget(wanted) == isTarget(had) && (wanted.name.empty() || absolute(wanted) == had);
}

Json attemptJson(const Attempt& attempt, Clock::time_point start) {
    return Json::array({static_cast<int>(attempt.judgement.verdict), attempt.judgement.text,
                        std::chrono::duration<double>(attempt.start - start).count(), attempt.seconds, attempt.log,
                        attempt.commands});
}

// Of the clock's times only the distances have outlived the process.
Attempt attemptOf(const Json& json) {
    Attempt attempt;
    const int verdict = json.at(0).get<int>();
    if (verdict < 0 || verdict > static_cast<int>(Verdict::skipped)) {
        throw std::out_of_range("verdict");
    }
    attempt.judgement = {static_cast<Verdict>(verdict), json.at(1).get<std::string>()};
    const std::chrono::duration<double> start(json.at(2).get<double>());
    attempt.start = Clock::time_point(std::chrono::duration_cast<Clock::duration>(start));
    attempt.seconds = json.at(3).get<double>();
    attempt.log = json.at(4).get<std::string>();
    attempt.commands = json.at(5);
    return attempt;
}

}  // namespace

UnfinishedRun::UnfinishedRun(const Plan& plan, const ParameterValues& parameters, const std::string& stem,
                             const SetOfRun& set)
    : _stem(stem),
      _plan(absolutePath(plan.file)),
      _hash(plan.hash),
      _faultsHash(plan.faultsHash),
      _set(absolute(set)),
      _parameters(parameters) {}

// Throws exceptions of all kinds for what write() did not write.
UnfinishedRun::UnfinishedRun(const std::string& file)
    : _stem(file.substr(0, file.size() - std::strlen(kExtension))),
      _open(std::make_unique<OpenFile>(file, O_RDWR | O_APPEND)) {
    const std::string text = _open->read();
    std::size_t end = text.find('\n');
    readHeader(parseJson(text.substr(0, end)));
    while (end != std::string::npos) {
        _validBytes = end + 1;
        end = text.find('\n', _validBytes);
        try {
            readStep(parseJson(text.substr(_validBytes, end - _validBytes)));
        } catch (const std::exception&) {
            // The line that was being written when the run died: the step counts as not ended.
            return;
        }
    }
}

std::unique_ptr<UnfinishedRun> UnfinishedRun::read(const std::string& file) {
    try {
        return std::unique_ptr<UnfinishedRun>(new UnfinishedRun(file));
    } catch (const std::exception&) {
        return nullptr;
    }
}

std::vector<std::string> UnfinishedRun::filesIn(const std::string& folder) {
    std::vector<std::pair<fs::file_time_type, std::string>> found;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (entry.path().extension() == kExtension) {
            found.emplace_back(entry.last_write_time(error), entry.path().string());
        }
    }
    std::sort(found.rbegin(), found.rend());
    std::vector<std::string> files;
    files.reserve(found.size());
    for (const auto& [time, file] : found) {
        files.push_back(file);
    }
    return files;
}

std::string UnfinishedRun::fileOf(const std::string& stem) {
    return stem + kExtension;
}

std::unique_ptr<UnfinishedRun> UnfinishedRun::find(const std::string& folder, const Plan& plan, const SetOfRun& set) {
    std::string problem, otherPlan;
    for (const std::string& file : filesIn(folder)) {
        std::unique_ptr<UnfinishedRun> run = read(file);
        if (run == nullptr) {
            printMessage(file + ": is damaged, left out");
            continue;
        }
        if (run->_plan != absolutePath(plan.file)) {
            otherPlan = folder + ": the unfinished run is one of " + run->_plan + ", not of " + plan.file;
        } else if (!isMeant(set, run->_set)) {
            problem = folder + ": the unfinished run is on " + (isTarget(run->_set) ? "the target " : "the set in ") +
                      run->_set.name;
        } else if (!run->lock()) {
            problem = plan.file + ": the run is still going on";
        } else {
            run->check(plan);
            return run;
        }
    }
    throw UsageError(!problem.empty()     ? problem
                     : !otherPlan.empty() ? otherPlan
                                          : folder + ": no run is unfinished, there is nothing to resume");
}

void UnfinishedRun::check(const Plan& plan) const {
    if (_hash != plan.hash || _position.step > plan.size()) {
        throw UsageError(plan.file + ": has changed since the run that was to be resumed began");
    }
    if (_faultsHash != plan.faultsHash) {
        throw UsageError(plan.file + ": the run that was to be resumed had " +
                         (_faultsHash.empty() ? "no faults" : "other faults (--faults FILE)"));
    }
    if (isLost()) {
        throw UsageError(_set.name + ": the " + (_set.kind == SetOfRun::Kind::fresh ? "temporary " : "") +
                         "set is gone, the run on it cannot be resumed");
    }
}

void UnfinishedRun::nameRecord(const std::string& run, const Json& decides) {
    _record = run;
    _decides = decides;
}

void UnfinishedRun::requireSame(const Json& decides) const {
    std::string changed;
    for (const auto& [name, value] : decides.items()) {
        if (!_decides.is_null() && _decides.value(name, Json()) != value) {
            changed += (changed.empty() ? "" : ", ") + name;
        }
    }
    if (!changed.empty()) {
        throw UsageError(_plan +
                         ": since the run that was to be resumed began, something else has changed: " + changed);
    }
}

void UnfinishedRun::storeRecord(const std::string& run) {
    _record = run;
    const std::string text = _open->read();
    writeFile(file(), jsonLine(header()) + text.substr(std::min(text.find('\n'), text.size())));
}

void UnfinishedRun::begin() {
    if (_begun) {
        return;
    }
    _begun = true;
    try {
        dropOthers();
        if (_open == nullptr) {
            _open = std::make_unique<OpenFile>(file(), O_RDWR | O_CREAT | O_TRUNC | O_APPEND);
            if (!lock()) {
                throw std::runtime_error(file() + ": cannot be locked: " + std::strerror(errno));
            }
            write(header());
        } else if (ftruncate(_open->get(), static_cast<off_t>(_validBytes)) != 0) {
            throw std::runtime_error(file() + ": " + std::strerror(errno));
        }
    } catch (const std::exception& error) {
        giveUp(error.what());
    }
}

void UnfinishedRun::endStep(const Position& position, const StepResult& result, const Variables& kept) {
    if (_open == nullptr) {
        return;
    }
    Json variables = Json::object();
    for (const auto& [name, value] : kept) {
        variables[name] = encodeValue(value);
    }
    Json attempts = Json::array();
    for (const Attempt& attempt : result.attempts) {
        attempts.push_back(attemptJson(attempt, result.attempts.front().start));
    }
    try {
        write({{"step", position.step},
               {"stopped", position.stopped},
               {"calls", position.faultCalls},
               {"kept", std::move(variables)},
               {"attempts", std::move(attempts)}});
    } catch (const std::exception& error) {
        giveUp(error.what());
    }
}

void UnfinishedRun::finish() {
    if (_open != nullptr) {
        unlink(file().c_str());
    }
    _open.reset();
}

void UnfinishedRun::giveUp(const char* why) {
    printMessage(std::string(why) + "; this run cannot be resumed");
    finish();
}

Json UnfinishedRun::header() const {
    return {{"plan", _plan},
            {"hash", _hash},
            {"faults", _faultsHash},
            {"set", _set.name},
            {"fresh", _set.kind == SetOfRun::Kind::fresh},
            {"target", isTarget(_set)},
            {"parameters", _parameters},
            {"run", _record},
            {"decides", _decides}};
}

void UnfinishedRun::readHeader(const Json& json) {
    _plan = json.at("plan").get<std::string>();
    _hash = json.at("hash").get<std::string>();
    _faultsHash = json.at("faults").get<std::string>();
    const bool isFresh = json.at("fresh").get<bool>();
    _set = {json.at("set").get<std::string>(), json.value("target", false) ? SetOfRun::Kind::target
                                               : isFresh                   ? SetOfRun::Kind::fresh
                                                                           : SetOfRun::Kind::kept};
    _parameters = json.value("parameters", ParameterValues());
    _record = json.value("run", "");
    _decides = json.value("decides", Json());
}

// Changes nothing unless all of it can be read.
void UnfinishedRun::readStep(const Json& json) {
    Position position;
    position.step = json.at("step").get<std::size_t>() + 1;
    position.stopped = json.at("stopped").get<bool>();
    position.faultCalls = json.at("calls").get<std::vector<unsigned int>>();
    if (position.step <= _position.step) {
        throw std::out_of_range("step");
    }
    StepResult result;
    for (const Json& attempt : json.at("attempts")) {
        result.attempts.push_back(attemptOf(attempt));
    }
    Variables kept;
    for (const auto& [name, value] : json.at("kept").items()) {
        kept[name] = decodeValue(value);
    }
    for (auto& [name, value] : kept) {
        _variables[name] = std::move(value);
    }
    _position = std::move(position);
    _steps[_position.step - 1] = std::move(result);
}

// A line at once. Nobody waits for the disk at every step of a run: what a kill leaves is in the PC's memory.
void UnfinishedRun::write(const Json& json) {
    _open->write(jsonLine(json) + '\n');
}

// The lock of a process and not of a file: a hub that this process has started does not inherit it.
bool UnfinishedRun::lock() const {
    struct flock wanted = {};
    wanted.l_type = F_WRLCK;
    wanted.l_whence = SEEK_SET;
    return fcntl(_open->get(), F_SETLK, &wanted) == 0;
}

bool UnfinishedRun::isLost() const {
    return !isTarget(_set) && !isSet(_set.name);
}

// Whoever holds the set now has ended what was unfinished there. What is damaged is named when somebody wants to
// resume.
void UnfinishedRun::dropOthers() const {
    for (const std::string& other : filesIn(fs::path(_stem).parent_path().string())) {
        const std::unique_ptr<UnfinishedRun> run = other != file() ? read(other) : nullptr;
        if (run != nullptr && run->lock() && (run->_set == _set || run->isLost())) {
            run->remove();
        }
    }
}

// A report without a byte is a name that was taken. One that has some was written when Ctrl-C cut the run short.
std::vector<std::string> UnfinishedRun::files() const {
    std::vector<std::string> found = {file()};
    std::error_code error;
    if (fs::file_size(_stem + ".json", error) != 0 || error) {
        return found;
    }
    PlanResult result;
    for (const auto& [index, step] : _steps) {
        result.steps.push_back(step);
    }
    const std::vector<std::string> report = filesOfReport(_stem, result.files());
    found.insert(found.end(), report.begin(), report.end());
    return found;
}

void UnfinishedRun::remove() const {
    for (const std::string& file : files()) {
        unlink(file.c_str());
    }
}

std::string UnfinishedRun::file() const {
    return fileOf(_stem);
}

}  // namespace tool
