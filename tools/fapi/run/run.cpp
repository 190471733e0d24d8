// SPDX-License-Identifier: Apache-2.0
// Watches the processes that run a plan, and brings it to its end whatever becomes of them.
#include "run/run.h"

#include <csignal>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "protocol/characters.h"
#include "vset/vset.h"

namespace tool {

namespace {

[[noreturn]] void failWith(const char* call) {
    throw std::runtime_error(std::string(call) + ": " + std::strerror(errno));
}

// "SIGSEGV (Segmentation fault)"
std::string signalName(int number) {
    const char* abbreviation = sigabbrev_np(number);
    const std::string name = abbreviation != nullptr ? abbreviation : std::to_string(number);
    return "SIG" + name + " (" + strsignal(number) + ")";
}

constexpr char kInterrupted[] = "interrupted";

bool isReboot(int status) {
    return WIFEXITED(status) && WEXITSTATUS(status) == kExitReboot;
}

}  // namespace

PlanRun::PlanRun(const Plan& plan, const SessionOptions& session, const std::string& report, Progress& progress,
                 Interrupts& interrupts, UnfinishedRun* unfinished)
    : _plan(plan),
      _session(session),
      _report(report),
      _log(report.empty() ? nullptr : std::make_unique<StepLog>()),
      _progress(progress),
      _interrupts(interrupts),
      _unfinished(unfinished) {
    const std::string folder = std::filesystem::path(plan.file).parent_path().string();
    _variables[kPlanFolder] = folder.empty() ? "." : folder;
    _result.plan = &plan;
    _result.start = std::chrono::system_clock::now();
    _result.setFolder = setFolder(session);
    _result.steps.resize(plan.steps.size());
}

void PlanRun::resume() {
    _position = _unfinished->position();
    _position.resumed = true;
    _first = _next = _position.step;
    for (const auto& [name, value] : _unfinished->variables()) {
        _variables[name] = value;
    }
    for (const auto& [index, step] : _unfinished->steps()) {
        _result.steps[index] = step;
        _result.seconds += step.seconds();
    }
    _result.resumed = true;
}

void PlanRun::run() {
    const Clock::time_point start = Clock::now();
    while (!_over) {
        runProcess();
    }
    if (!_refusal.empty()) {
        throw SetError(_refusal);
    }
    _result.seconds += std::chrono::duration<double>(Clock::now() - start).count();
}

void PlanRun::runProcess() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        failWith("pipe");
    }
    // What this process has buffered is not to be printed by the other one, too.
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        failWith("fork");
    }
    if (child == 0) {
        close(ends[0]);
        _interrupts.giveBack();
        runPlanProcess(_plan, _session, _position, _variables, _report, _log.get(), ends[1]);
    }
    close(ends[1]);
    _unread.clear();
    _heard = _rebootDue = _stepInterrupted = false;
    watch(ends[0], child);
    close(ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    // A reboot that was announced is what was to happen, and the next process goes on.
    if (!_over && (!_rebootDue || !isReboot(status) || _stepInterrupted)) {
        afterDeath(status);
    }
}

// Until the process is gone.
void PlanRun::watch(int descriptor, pid_t child) {
    pollfd waited[2] = {{descriptor, POLLIN, 0}, {_interrupts.descriptor(), POLLIN, 0}};
    for (;;) {
        const int ready = poll(waited, 2, _progress.refreshMilliseconds());
        if (ready < 0 && errno != EINTR) {
            failWith("poll");
        }
        if (ready == 0) {
            _progress.refresh();
        }
        if (ready > 0 && waited[1].revents != 0) {
            interrupt(descriptor, child);
        }
        if (ready > 0 && waited[0].revents != 0 && !readRecords(descriptor)) {
            return;
        }
    }
}

// False at the end.
bool PlanRun::readRecords(int descriptor) {
    char chunk[65536];
    const ssize_t length = read(descriptor, chunk, sizeof(chunk));
    if (length < 0 && errno == EINTR) {
        return true;
    }
    if (length <= 0) {
        return false;
    }
    _unread.append(chunk, static_cast<std::size_t>(length));
    std::size_t start = 0;
    for (std::size_t end; (end = _unread.find('\n', start)) != std::string::npos; start = end + 1) {
        take(decode(_unread.substr(start, end - start)));
    }
    _unread.erase(0, start);
    return true;
}

// The first Ctrl-C ends the step, and the teardown follows; the second ends everything.
void PlanRun::interrupt(int descriptor, pid_t child) {
    // What the process has told counts, or a run that goes on from here would do it again.
    pollfd waited = {descriptor, POLLIN, 0};
    while (poll(&waited, 1, 0) > 0 && readRecords(descriptor)) {
    }
    if (!_interrupts.take() || _over) {
        return;
    }
    const bool last = _interrupts.count() > 1;
    if (!last && isInTeardown()) {
        return;
    }
    _stepInterrupted = true;
    kill(child, SIGKILL);
    while (readRecords(descriptor)) {
    }
    if (_over) {
        return;
    }
    cutShort();
    if (last) {
        endStep({Verdict::interrupted, atRunningLine(kInterrupted)});
        _over = true;
    }
}

bool PlanRun::isInTeardown() const {
    const std::size_t step = _inStep ? _position.step : _next;
    return step < _plan.steps.size() && _plan.steps[step].teardown;
}

void PlanRun::take(Record record) {
    // Of a process that was killed for good nothing counts any more.
    if (_over) {
        return;
    }
    _heard = true;
    _rebootDue = record.kind == RecordKind::reboot;
    _position = record.position;
    switch (record.kind) {
        case RecordKind::start:
            if (_unfinished != nullptr) {
                _unfinished->begin();
            }
            _inStep = _inAttempt = true;
            _next = _position.step + 1;
            _result.steps.at(_position.step).attempts.emplace_back().start = _position.start;
            _progress.begin(_position.step, _position.attempt);
            break;
        case RecordKind::command:
            for (auto& [name, value] : record.kept) {
                _keptSince[name] = value;
                _variables[name] = std::move(value);
            }
            if (!record.command.is_null()) {
                attempt().commands.push_back(std::move(record.command));
            }
            break;
        case RecordKind::end:
            takeEnd(record);
            break;
        case RecordKind::reboot:
            break;
        case RecordKind::done:
            _over = true;
            // Ctrl-C came when everything had been done.
            _result.cutShort = _result.cutShort && !_stepInterrupted;
            _result.boots = record.text;
            break;
        case RecordKind::refused:
            takeRefusal(_position.judgement);
            break;
    }
}

void PlanRun::takeEnd(const Record& record) {
    attempt().judgement = _position.judgement;
    attempt().seconds = record.seconds;
    attempt().log = record.text;
    _inAttempt = false;
    if (!isBad(_position.judgement.verdict) || _position.attempt > _plan.steps[_position.step].retry) {
        _inStep = false;
        // What has been told is never done again.
        saveStep(_position.step);
        _progress.end(_position.step, _result.steps[_position.step]);
    }
}

// Without a set there is no teardown either.
void PlanRun::takeRefusal(const Judgement& judgement) {
    _over = true;
    if (_next == _first) {
        _refusal = judgement.text;
        return;
    }
    endStep(judgement);
}

// The process is gone without having said so: goes on with the teardown.
void PlanRun::afterDeath(int status) {
    const std::string text = deathText(status);
    if (!_heard && !_stepInterrupted && !_inStep) {
        // It would die in the same way again.
        takeRefusal({Verdict::failed, text});
        return;
    }
    if (!_stepInterrupted) {
        endStep({Verdict::died, text});
    } else if (_inStep) {
        endStep({Verdict::interrupted, atRunningLine(kInterrupted)});
    }
    std::vector<unsigned int> faultCalls = std::move(_position.faultCalls);
    _position = {};
    _position.step = _next;
    _position.stopped = true;
    _position.faultCalls = std::move(faultCalls);
    _over = _next >= _plan.steps.size();
}

void PlanRun::saveStep(std::size_t index) {
    if (_unfinished == nullptr) {
        return;
    }
    Position position = _position;
    position.step = index;
    _unfinished->endStep(position, _result.steps[index], _keptSince);
    _keptSince.clear();
}

// A run that goes on from here begins with the step that did not end, and the teardown will follow once more.
void PlanRun::cutShort() {
    _result.cutShort = true;
    _unfinished = nullptr;
}

std::string PlanRun::deathText(int status) const {
    const std::string text = isReboot(status) ? "the watchdog has rebooted the set"
                             : WIFSIGNALED(status)
                                 ? "the process died of " + signalName(WTERMSIG(status))
                                 : "the process ended with exit code " + std::to_string(WEXITSTATUS(status));
    return atRunningLine(text);
}

// Null when the set is between two lines.
const PlanLine* PlanRun::runningLine() const {
    const std::vector<PlanLine>& lines = _plan.steps[_inAttempt ? _position.step : 0].lines;
    return _inAttempt && _position.line < lines.size() ? &lines[_position.line] : nullptr;
}

std::string PlanRun::atRunningLine(const std::string& text) const {
    const PlanLine* line = runningLine();
    return line == nullptr
               ? text
               : "line " + std::to_string(line->line) + ": " + beginningOf(line->text(), kToldBytes) + ": " + text;
}

Attempt& PlanRun::attempt() {
    return _result.steps.at(_position.step).attempts.back();
}

// Ends the step for what did not come from its lines. What comes between two steps is the next one's, or the last's.
void PlanRun::endStep(const Judgement& judgement) {
    const std::size_t index = _inStep ? _position.step : std::min(_next, _plan.steps.size() - 1);
    StepResult& step = _result.steps[index];
    if (_inAttempt) {
        // The line that was running has told nothing itself.
        if (const PlanLine* line = runningLine(); line != nullptr && _log != nullptr) {
            attempt().commands.push_back(
                {{"command", beginningOf(line->text(), kKeptBytes)}, {"line", line->line}, {"error", "did not end"}});
        }
        attempt().seconds = std::chrono::duration<double>(Clock::now() - _position.start).count();
        attempt().log = _log != nullptr ? _log->text() : "";
    } else {
        step.attempts.emplace_back().start = Clock::now();
    }
    step.attempts.back().judgement = judgement;
    _progress.end(index, step);
    _position.stopped = true;
    saveStep(index);
    _inStep = _inAttempt = false;
    _next = std::max(_next, index + 1);
}

}  // namespace tool
