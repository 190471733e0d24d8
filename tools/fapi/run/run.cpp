// SPDX-License-Identifier: Apache-2.0
// One run of one plan, brought to its end whatever becomes of the set's worker.
#include "run/run.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "operator/operator.h"
#include "protocol/characters.h"
#include "target/session.h"

namespace tool {

namespace {

constexpr char kInterrupted[] = "interrupted";

double elapsedSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

bool expectsCalls(const Plan& plan) {
    for (const Step& step : plan.steps) {
        for (const PlanLine& line : step.lines) {
            for (const Expectation& expectation : line.expectations) {
                if (std::holds_alternative<CallsCondition>(expectation.what)) {
                    return true;
                }
            }
        }
    }
    return false;
}

// Whether the step's verdict depends on what comes besides answers, which a wire may lose.
bool judgesWhatCame(const Step& step) {
    return std::any_of(step.lines.begin(), step.lines.end(), [](const PlanLine& line) {
        return std::any_of(line.expectations.begin(), line.expectations.end(),
                           [](const Expectation& expectation) { return expectation.isAboutArrivals(); });
    });
}

RunSetOptions optionsFor(const Plan& plan, const SessionOptions& session, bool isShared, bool keepsLog) {
    RunSetOptions options;
    options.session = session;
    options.session.client = "fapi run";
    options.plan = plan.name;
    options.isShared = isShared;
    options.keepsLog = keepsLog;
    options.followsCalls = expectsCalls(plan) || !plan.faults.empty();
    return options;
}

// What other runs read that wait for an instrument of this one.
std::string nameOfRun(const Plan& plan) {
    const char* slot = std::getenv(kSlotVariable);
    return slot != nullptr ? std::string("slot ") + slot : "plan " + plan.name;
}

// What programs of the plan find in their environment.
ProgramSurroundings surroundingsOf(const Plan& plan, const RunInput& input, const std::string& set) {
    ProgramSurroundings surroundings;
    surroundings.folder = folderOf(plan);
    surroundings.within = input.programWithin;
    surroundings.environment = {{"FAPI_PLAN", plan.name},
                                {"FAPI_PLAN_DIR", folderOf(plan)},
                                {"FAPI_SET", set},
                                {"FAPI_UNIT", unitFor(plan, input.parameters)}};
    for (const auto& [name, value] : input.parameters) {
        surroundings.environment.emplace_back("FAPI_PARAM_" + name, value);
    }
    return surroundings;
}

// Whose fault it is that the set does not answer.
Verdict verdictOfEnd(const RequestError& error) {
    switch (error.code()) {
        case ErrorCode::stationFailed:
        case ErrorCode::ended:
        case ErrorCode::stuck:
        case ErrorCode::claimed:
            return Verdict::error;
        default:
            return Verdict::failed;
    }
}

}  // namespace

PlanRun::PlanRun(const Plan& plan, const RunInput& input, const SessionOptions& session, bool isShared,
                 const std::string& report, Progress& progress, Interrupts& interrupts, UnfinishedRun* unfinished)
    : _plan(plan),
      _report(report),
      _progress(progress),
      _interrupts(interrupts),
      _unfinished(unfinished),
      _set(
          optionsFor(plan, session, isShared, !report.empty()), plan.faults, interrupts,
          [&progress] { progress.refresh(); }, progress.refreshMilliseconds()),
      _variables(variablesFor(plan, input.parameters)),
      _instruments(input.instruments, nameOfRun(plan)),
      _lines{_set,
             _variables,
             _keptSince,
             input.limits,
             _report,
             plan.judgesRefusals,
             surroundingsOf(plan, input, setFolder(session)),
             &_instruments} {
    _result.plan = &plan;
    _result.waivers = input.waivers;
    _result.start = std::chrono::system_clock::now();
    _result.setFolder = setFolder(session);
    _result.steps.resize(plan.steps.size());
}

void PlanRun::resume() {
    const Position& position = _unfinished->position();
    _next = position.step;
    _stopped = position.stopped;
    _set.faults().resume(position.faultCalls);
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
    beforeSteps([this] { _set.switchOn(); });
    if (_result.resumed) {
        carryOut([this] { bringUp(_stopped ? stepsForTeardown() : _next); });
    }
    while (_state != State::over && _next < _plan.steps.size()) {
        const Step& step = _plan.steps[_next];
        if (_stopped && !step.teardown) {
            ++_next;
        } else {
            carryOut([&] { runStep(step); });
        }
    }
    _result.boots = _set.boots();
    _result.seconds += elapsedSince(start);
}

// What ends the run now is no step's.
template <class Part>
void PlanRun::beforeSteps(Part&& part) {
    try {
        part();
    } catch (const SetTaken& loss) {
        throw SetError(loss.how);
    } catch (const WorkerEnded& end) {
        throw SetError(end.how);
    }
}

void PlanRun::open() {
    beforeSteps([this] { _set.open(); });
    _result.library = _set.hello()["library"].textOr("");
}

// A teardown brings up what it needs itself, for it may follow anything.
std::size_t PlanRun::stepsForTeardown() const {
    return _plan.bringsUpTeardown ? 1 : 0;
}

// Brings up the modules that the first steps have brought up since their last power cycle.
void PlanRun::bringUp(std::size_t steps) {
    std::vector<const Command*> inits;
    for (std::size_t i = 0; i < steps; ++i) {
        for (const PlanLine& line : _plan.steps[i].lines) {
            if (line.command && line.command->endsProcess()) {
                inits.clear();
            } else if (line.command && line.command->operation() != nullptr && line.command->operation()->initialises) {
                inits.push_back(&*line.command);
            }
        }
    }
    for (const Command* command : inits) {
        const std::optional<CallAnswer> answer = _set.run(*command);
        if (answer && !answer->outcome.good) {
            std::fprintf(stderr, "fapi: %s answered %lld\n", command->text().c_str(), answer->outcome.status);
        }
    }
    // What brought the set up again is no matter of a step.
    _set.calls().takeRefusals();
}

// --- Steps -----------------------------------------------------------------------------------------------------------

// Ends the step that `part` belongs to when something from outside ends it. Then the teardown follows.
template <class Part>
void PlanRun::carryOut(Part&& part) {
    try {
        part();
    } catch (const RunInterrupted&) {
        takeInterrupt();
    } catch (const WorkerEnded& end) {
        endStep({Verdict::died, atRunningLine(end.how)});
        _mend = Mend::worker;
    } catch (const SetTaken& loss) {
        takeLoss(loss);
    } catch (const SetLost& error) {
        takeTrouble(error, error.what());
    } catch (const RequestError& error) {
        takeTrouble(error, atRunningLine(error.what()));
    }
}

void PlanRun::runStep(const Step& step) {
    _set.beginStep(step.teardown);
    switch (std::exchange(_mend, Mend::nothing)) {
        case Mend::connection:
            _set.open();
            _set.switchOn();
            break;
        case Mend::worker:
            _set.switchOn();
            bringUp(stepsForTeardown());
            break;
        case Mend::nothing:
            break;
    }
    _step = _next;
    for (unsigned int attempt = 1;; ++attempt) {
        if (attempt == 1) {
            _set.faults().beginStep(step.name, true);
        }
        if (_unfinished != nullptr) {
            _unfinished->begin();
        }
        _hasBegun = true;
        _next = _step + 1;
        _progress.begin(_step, attempt);
        runAttempt(step);
        const bool isLast = !isBad(_result.steps[_step].verdict()) || attempt > step.retry;
        endAttempt(step, isLast);
        if (isLast) {
            return;
        }
        _set.rest(step.every);
    }
}

void PlanRun::runAttempt(const Step& step) {
    Attempt& attempt = _result.steps[_step].attempts.emplace_back();
    attempt.start = Clock::now();
    _instruments.release();
    _set.events().clear();
    _set.log().clear();
    _set.takeWireDamage();
    _state = State::attempt;
    runLines(step);
    _instruments.release();
    if (const std::string damage = _set.takeWireDamage(); !damage.empty() && judgesWhatCame(step)) {
        attempt.judgement = {Verdict::error, damage};
    }
    const auto isSkipped = [](const PlanLine& line) { return !line.skipped.empty(); };
    const auto skipped = std::count_if(step.lines.begin(), step.lines.end(), isSkipped);
    if (static_cast<std::size_t>(skipped) + attempt.skipped.size() == step.lines.size()) {
        const std::string& why = step.lines.front().skipped;
        attempt.judgement = {Verdict::skipped, why.empty() ? attempt.skipped.front() : why};
    }
    const bool isRunBad = isBad(attempt.judgement.verdict);
    attempt.seconds = elapsedSince(attempt.start);
    attempt.log = isRunBad && hasReport() ? _set.log().text() : "";
}

// Stops at the first line that fails: what follows builds on it.
void PlanRun::runLines(const Step& step) {
    Attempt& attempt = _result.steps[_step].attempts.back();
    for (_line = 0; _line < step.lines.size() && !isBad(attempt.judgement.verdict); ++_line) {
        if (!LineRun(_lines, step.lines[_line], attempt).run()) {
            // The set is another one but for what it stores.
            _set.faults().beginStep(step.name, false);
        }
    }
}

void PlanRun::endAttempt(const Step& step, bool isLast) {
    _state = State::pause;
    if (!isLast) {
        return;
    }
    const StepResult& result = _result.steps[_step];
    _stopped = _stopped || (isBad(result.verdict()) && step.stopOnFailure && !_result.isWaived(_step));
    _set.faults().endStep(step.name);
    _state = State::between;
    // What has been told is never done again.
    saveStep(_step);
    _progress.end(_step, result);
}

// --- What ends a step from outside -----------------------------------------------------------------------------------

// The first Ctrl-C ends the step, and the teardown follows; the second ends everything. A run that goes on from here
// begins with the step that did not end, and the teardown will follow once more.
void PlanRun::takeInterrupt() {
    const bool isLast = _interrupts.count() > 1;
    _result.cutShort = true;
    _unfinished = nullptr;
    if (isLast || _state != State::between) {
        endStep({Verdict::interrupted, atRunningLine(kInterrupted)});
    }
    _stopped = true;
    _mend = Mend::worker;
    _state = isLast ? State::over : State::between;
}

// Without a set there is no teardown either.
void PlanRun::takeTrouble(const RequestError& error, const std::string& text) {
    if (!_hasBegun) {
        throw SetError(error.what());
    }
    // The agent or the hub has gone, and another one may do.
    const bool mayMend = error.code() == ErrorCode::ended && _state != State::between;
    endStep({verdictOfEnd(error), text});
    _mend = Mend::connection;
    _state = mayMend ? State::between : State::over;
}

// What a teardown would do is the other client's to decide.
void PlanRun::takeLoss(const SetTaken& loss) {
    if (!_hasBegun) {
        throw SetError(loss.how);
    }
    endStep({Verdict::error, atRunningLine(loss.how)});
    _state = State::over;
}

// Ends the step for what did not come from its lines. What comes between two steps is the next one's, or the last's.
void PlanRun::endStep(const Judgement& judgement) {
    _instruments.release();
    const std::size_t index = _state != State::between ? _step : std::min(_next, _plan.steps.size() - 1);
    StepResult& step = _result.steps[index];
    if (_state == State::attempt) {
        Attempt& attempt = step.attempts.back();
        // The line that was running has told nothing itself.
        if (const PlanLine* line = runningLine(); line != nullptr && hasReport()) {
            attempt.commands.push_back(
                {{"command", beginningOf(line->text(), kKeptBytes)}, {"line", line->line}, {"error", "did not end"}});
        }
        attempt.seconds = elapsedSince(attempt.start);
        attempt.log = hasReport() ? _set.log().text() : "";
    } else {
        step.attempts.emplace_back().start = Clock::now();
    }
    step.attempts.back().judgement = judgement;
    _progress.end(index, step);
    _stopped = true;
    saveStep(index);
    _state = State::between;
    _next = std::max(_next, index + 1);
}

void PlanRun::saveStep(std::size_t index) {
    if (_unfinished != nullptr) {
        _unfinished->endStep({index, _stopped, _set.faults().calls()}, _result.steps[index], _keptSince);
        _keptSince.clear();
    }
}

// Null when the set is between two lines.
const PlanLine* PlanRun::runningLine() const {
    const std::vector<PlanLine>& lines = _plan.steps[_state == State::attempt ? _step : 0].lines;
    return _state == State::attempt && _line < lines.size() ? &lines[_line] : nullptr;
}

std::string PlanRun::atRunningLine(const std::string& text) const {
    const PlanLine* line = runningLine();
    return line == nullptr
               ? text
               : "line " + std::to_string(line->line) + ": " + beginningOf(line->text(), kToldBytes) + ": " + text;
}

}  // namespace tool
