// SPDX-License-Identifier: Apache-2.0
// One run of one plan, brought to its end whatever becomes of the set's worker.
#include "run/run.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "operator/operator.h"
#include "language/words_of_plans.h"
#include "protocol/characters.h"
#include "target/session.h"

namespace tool {

namespace {

constexpr char kInterrupted[] = "interrupted";

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

}  // namespace

PlanRun::PlanRun(const Plan& plan, const RunInput& input, const SessionOptions& session, bool isShared,
                 const std::string& report, Progress& progress, Interrupts& interrupts, UnfinishedRun* unfinished)
    : _plan(plan),
      _report(report),
      _limits(input.limits),
      _progress(progress),
      _interrupts(interrupts),
      _unfinished(unfinished),
      _set(
          optionsFor(plan, session, isShared, !report.empty()), plan.faults, interrupts,
          [&progress] { progress.refresh(); }, progress.refreshMilliseconds()),
      _instruments(input.instruments, nameOfRun(plan)),
      _programs(surroundingsOf(plan, input, setFolder(session))) {
    _whole.variables = variablesFor(plan, input.parameters);
    _whole.end = plan.size();
    _result.plan = &plan;
    _result.waivers = input.waivers;
    _result.expected = input.expected;
    _result.start = std::chrono::system_clock::now();
    _result.setFolder = setFolder(session);
    _result.steps.resize(plan.size());
}

void PlanRun::resume() {
    const Position& position = _unfinished->position();
    _whole.next = position.step;
    _whole.stopped = position.stopped;
    _set.faults().resume(position.faultCalls);
    for (const auto& [name, value] : _unfinished->variables()) {
        _whole.variables[name] = value;
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
    if (_plan.within.count() != 0) {
        _planLimit = start + _plan.within;
    }
    if (_result.resumed) {
        carryOut([this] { bringUp(_whole.stopped ? stepsForTeardown() : _whole.next); });
    }
    runSteps();
    _result.boots = _set.boots();
    _result.times = _set.times();
    _result.seconds += secondsSince(start);
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
        for (const PlanLine& line : _plan.stepAt(i).lines) {
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
        _mend = std::max(_mend, Mend::worker);
        endOthers(std::make_exception_ptr(end));
    } catch (const TimedOut& timeOut) {
        takeTimeOut(timeOut);
    } catch (const SetStuck& stuck) {
        takeLoss(stuck.how, atRunningLine(stuck.how));
    } catch (const SetTaken& loss) {
        takeLoss(loss.how, atRunningLine(loss.how));
    } catch (const SetLost& error) {
        takeTrouble(error, error.what());
    } catch (const RequestError& error) {
        takeTrouble(error, atRunningLine(error.what()));
    }
}

// Runs the steps of the lane, from the next one to its end.
void PlanRun::runSteps() {
    Lane& here = lane();
    while (here.state != State::over && here.next < here.end) {
        here.place = placeOf(_plan, here.next);
        const auto isAlongside = [](const Frame& frame) { return frame.part->kind == PartKind::alongside; };
        const auto beside = std::find_if(here.place.frames.begin(), here.place.frames.end(), isAlongside);
        std::string why;
        if (!isWanted(here.place, why)) {
            StepResult& result = _result.steps[here.next];
            if (!why.empty() && result.attempts.empty()) {
                result.why = std::make_shared<const std::string>(why);
            }
            ++here.next;
        } else if (!_isAlongside && !here.stopped && beside != here.place.frames.end()) {
            runAlongside(Frame(*beside));
        } else {
            carryOut([this] { runStep(); });
        }
    }
}

// Whether the step is to run: after a failure only what tears down what has begun. `why` is the reason why it is not
// when that is no failure of the plan's.
bool PlanRun::isWanted(const StepPlace& place, std::string& why) const {
    const Lane& here = lane();
    bool isTornDown = _plan.steps[place.step].teardown;
    bool isTeardownFound = false;
    if (!_result.steps[here.next].attempts.empty() && here.stopped) {
        // It was run beside others before these were ended.
        return false;
    }
    for (const Frame& frame : place.frames) {
        if (frame.part->kind != PartKind::group) {
            continue;
        }
        const auto found = _groups.find({frame.begin, frame.part});
        const bool hasBegun = found != _groups.end();
        if (hasBegun && found->second.hasFailed && frame.section != Section::teardown) {
            why = "the set-up of the group " + display(frame.part->name, 60) + " has failed";
            return false;
        }
        if (frame.section == Section::teardown && !isTeardownFound) {
            isTeardownFound = true;
            isTornDown = hasBegun;
        }
    }
    return !here.stopped || isTornDown;
}

// The groups of the step have begun.
void PlanRun::noteGroups(const Step& step) {
    const std::size_t now = lane().step;
    for (auto group = _groups.begin(); group != _groups.end() && !_isAlongside;) {
        group = group->second.end <= now ? _groups.erase(group) : std::next(group);
    }
    const bool isBadStep = isBad(_result.steps[now].verdict()) && !_result.steps[now].attempts.empty();
    for (const Frame& frame : lane().place.frames) {
        if (frame.part->kind == PartKind::group) {
            GroupState& group = _groups[{frame.begin, frame.part}];
            group.end = frame.end;
            group.hasFailed = group.hasFailed || (isBadStep && frame.section == Section::setup && !step.teardown);
        }
    }
}

void PlanRun::mend() {
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
}

// The limit that comes first. A teardown has none of the plan's.
TimeLimit PlanRun::limitOf(const Step& step) const {
    const Clock::time_point end = Clock::now() + step.within;
    return step.teardown || end < _planLimit
               ? TimeLimit{end, timeText(step.within) + ", the limit of the step"}
               : TimeLimit{_planLimit, timeText(_plan.within) + ", the limit of the plan"};
}

StepNames PlanRun::namesOf(const Step& step) {
    return {step.name, _plan.parts.empty() || _set.faults().isEmpty() ? step.name : _plan.nameAt(lane().step)};
}

void PlanRun::runStep() {
    Lane& here = lane();
    const Step& step = _plan.steps[here.place.step];
    _set.setLimit({});
    _set.beginStep(step.teardown);
    mend();
    here.step = here.next;
    here.label = here.place.label();
    here.place.setVariables(here.variables);
    _set.setLimit(limitOf(step));
    noteGroups(step);
    for (const OnlyIf& only : step.conditions) {
        try {
            if (const std::string why = only.skips(here.variables); !why.empty()) {
                return skipStep(why);
            }
        } catch (const UsageError& error) {
            here.state = State::pause;
            return endStep({Verdict::failed, placeText(step, step.line) + ": " + error.what()});
        }
    }
    runAttempts(step);
    noteGroups(step);
}

void PlanRun::skipStep(const std::string& why) {
    Lane& here = lane();
    Attempt& attempt = _result.steps[here.step].attempts.emplace_back();
    attempt.start = Clock::now();
    attempt.judgement = {Verdict::skipped, why};
    here.next = here.step + 1;
    saveStep(here.step);
    _progress.end(here.step, _result.steps[here.step]);
}

void PlanRun::runAttempts(const Step& step) {
    Lane& here = lane();
    for (unsigned int attempt = 1;; ++attempt) {
        if (attempt == 1) {
            _set.faults().beginStep(namesOf(step), true);
        }
        if (_unfinished != nullptr) {
            _unfinished->begin();
        }
        _hasBegun = true;
        here.next = here.step + 1;
        _progress.begin(here.step, attempt);
        runAttempt(step);
        const bool isLast = !isBad(_result.steps[here.step].verdict()) || attempt > step.retry;
        endAttempt(step, isLast);
        if (isLast) {
            return;
        }
        _set.rest(step.every);
    }
}

void PlanRun::runAttempt(const Step& step) {
    Attempt& attempt = _result.steps[lane().step].attempts.emplace_back();
    attempt.start = Clock::now();
    _instruments.release();
    _set.events().clear();
    _set.log().clear();
    _set.takeWireDamage();
    lane().state = State::attempt;
    runLines(step);
    _instruments.release();
    if (const std::string damage = _set.takeWireDamage(); !damage.empty() && judgesWhatCame(step)) {
        attempt.judgement = {Verdict::error, damage};
    }
    const auto isSkipped = [](const PlanLine& line) { return !line.skipped.empty(); };
    const auto skipped = std::count_if(step.lines.begin(), step.lines.end(), isSkipped);
    if (!step.lines.empty() && static_cast<std::size_t>(skipped) + attempt.skipped.size() == step.lines.size()) {
        const std::string& why = step.lines.front().skipped;
        attempt.judgement = {Verdict::skipped, why.empty() ? attempt.skipped.front() : why};
    }
    const bool isRunBad = isBad(attempt.judgement.verdict);
    attempt.seconds = secondsSince(attempt.start);
    attempt.log = isRunBad && hasReport() ? _set.log().text() : "";
}

// Stops at the first line that fails: what follows builds on it.
void PlanRun::runLines(const Step& step) {
    Lane& here = lane();
    Attempt& attempt = _result.steps[here.step].attempts.back();
    const LineRunContext context = {_set,    here.variables,       here.kept, here.label,   _limits,
                                    _report, _plan.judgesRefusals, _programs, &_instruments};
    for (here.line = 0; here.line < step.lines.size() && !isBad(attempt.judgement.verdict); ++here.line) {
        if (!LineRun(context, step, step.lines[here.line], attempt).run()) {
            // The set is another one but for what it stores.
            _set.faults().beginStep(namesOf(step), false);
        }
    }
}

void PlanRun::endAttempt(const Step& step, bool isLast) {
    Lane& here = lane();
    here.state = State::pause;
    if (!isLast) {
        return;
    }
    StepResult& result = _result.steps[here.step];
    here.stopped = here.stopped || (isBad(result.verdict()) && step.stopOnFailure && !_result.isWaived(here.step) &&
                                    _result.expectedAt(here.step) == nullptr);
    _set.faults().endStep(namesOf(step));
    here.state = State::between;
    // What has been told is never done again.
    saveStep(here.step);
    _progress.end(here.step, result);
    if (here.step >= kListedSteps) {
        result.fold();
    }
}

// --- Groups side by side ---------------------------------------------------------------------------------------------

// Runs the groups of the part. When something from outside has ended them, what they would have done for their
// teardown follows one after the other.
void PlanRun::runAlongside(const Frame& frame) {
    carryOut([this] {
        _set.beginStep(false);
        mend();
    });
    if (_whole.stopped || _whole.state == State::over) {
        return;
    }
    const std::vector<PlanPart>& groups = frame.part->parts;
    _lanes.assign(groups.size(), Lane());
    _isAlongside = true;
    _set.runAlongside(groups.size(), [&](std::size_t number) { runLane(groups[number], frame.begin); });
    _isAlongside = false;
    const bool areEnded =
        std::any_of(_lanes.begin(), _lanes.end(), [](const Lane& each) { return each.state == State::over; });
    for (const Lane& each : _lanes) {
        _whole.stopped = _whole.stopped || each.stopped;
        for (const auto& [name, value] : each.kept) {
            _whole.variables[name] = _whole.kept[name] = value;
        }
    }
    const bool isOver = std::exchange(_isOver, false);
    _whole.state = isOver ? State::over : State::between;
    _whole.next = areEnded ? frame.begin : frame.end;
    for (std::size_t i = frame.begin; i < frame.end; ++i) {
        if (!_result.steps[i].attempts.empty()) {
            saveStep(i);
        }
    }
}

void PlanRun::runLane(const PlanPart& part, std::size_t begin) {
    Lane& here = lane();
    here.variables = _whole.variables;
    here.next = begin + part.begin;
    here.end = here.next + part.size();
    runSteps();
}

// What has ended a step beside others ends them, too; what is left of them follows when all have ended.
void PlanRun::endOthers(std::exception_ptr why) {
    if (_isAlongside) {
        _set.endParts(std::move(why));
        lane().state = State::over;
    }
}

// --- What ends a step from outside -----------------------------------------------------------------------------------

// The first Ctrl-C ends the step, and the teardown follows; the second ends everything. A run that goes on from here
// begins with the step that did not end, and the teardown will follow once more.
void PlanRun::takeInterrupt() {
    const bool isLast = _interrupts.count() > 1;
    _result.cutShort = true;
    _unfinished = nullptr;
    if (isLast || lane().state != State::between) {
        endStep({Verdict::interrupted, atRunningLine(kInterrupted)});
    }
    lane().stopped = true;
    _mend = std::max(_mend, Mend::worker);
    leave(isLast);
    endOthers(std::make_exception_ptr(RunInterrupted()));
}

void PlanRun::takeTimeOut(const TimedOut& timeOut) {
    const std::string text = atRunningLine(timeOut.what);
    endStep({Verdict::failed, text});
    if (timeOut.endedWorker) {
        _mend = std::max(_mend, Mend::worker);
        endOthers(std::make_exception_ptr(WorkerEnded{"the set's worker was ended, for beside it " + text}));
    }
}

// Without a set there is no teardown either.
void PlanRun::takeTrouble(const RequestError& error, const std::string& text) {
    if (!_hasBegun) {
        throw SetError(error.what());
    }
    // The agent or the hub has gone, and another one may do.
    const bool mayMend = error.code() == ErrorCode::ended && lane().state != State::between;
    endStep({verdictOf(error), text});
    _mend = Mend::connection;
    leave(!mayMend);
    endOthers(std::make_exception_ptr(error));
}

// What a teardown would do is the other client's to decide, or needs a set that answers.
void PlanRun::takeLoss(const std::string& how, const std::string& text) {
    if (!_hasBegun) {
        throw SetError(how);
    }
    endStep({Verdict::error, text});
    leave(true);
    endOthers(std::make_exception_ptr(SetTaken{how}));
}

// The lane goes on with the teardown, or the run is over.
void PlanRun::leave(bool isOver) {
    _isOver = _isOver || (isOver && _isAlongside);
    lane().state = isOver ? State::over : State::between;
}

// Ends the step for what did not come from its lines. What comes between two steps is the next one's, or the last's;
// beside other groups it is theirs, too.
void PlanRun::endStep(const Judgement& judgement) {
    Lane& here = lane();
    here.stopped = true;
    if (_isAlongside && here.state == State::between) {
        return;
    }
    _instruments.release();
    const bool isRunning = here.state != State::between;
    const std::size_t index = isRunning ? here.step : std::min(here.next, _plan.size() - 1);
    StepResult& step = _result.steps[index];
    if (here.state == State::attempt) {
        Attempt& attempt = step.attempts.back();
        // The line that was running has told nothing itself.
        if (const PlanLine* line = runningLine(); line != nullptr && hasReport()) {
            attempt.commands.push_back(
                {{"command", beginningOf(line->text(), kKeptBytes)}, {"line", line->line}, {"error", "did not end"}});
        }
        attempt.seconds = secondsSince(attempt.start);
        attempt.log = hasReport() ? _set.log().text() : "";
    } else {
        step.attempts.emplace_back().start = Clock::now();
    }
    step.attempts.back().judgement = judgement;
    _progress.end(index, step);
    saveStep(index);
    here.state = State::between;
    here.next = std::max(here.next, index + 1);
    if (isRunning) {
        noteGroups(_plan.stepAt(index));
    }
}

// Steps beside others end in no order, so that a run would not know where to go on: they are saved when all have ended.
void PlanRun::saveStep(std::size_t index) {
    if (_unfinished != nullptr && !_isAlongside) {
        _unfinished->endStep({index, _whole.stopped, _set.faults().calls()}, _result.steps[index], _whole.kept);
        _whole.kept.clear();
    }
}

// Null when the set is between two lines.
const PlanLine* PlanRun::runningLine() const {
    const Lane& here = lane();
    if (here.state != State::attempt) {
        return nullptr;
    }
    const std::vector<PlanLine>& lines = _plan.steps[here.place.step].lines;
    return here.line < lines.size() ? &lines[here.line] : nullptr;
}

std::string PlanRun::atRunningLine(const std::string& text) const {
    const PlanLine* line = runningLine();
    return line == nullptr ? text
                           : placeText(_plan.steps[lane().place.step], line->line) + ": " +
                                 beginningOf(line->text(), kToldBytes) + ": " + text;
}

}  // namespace tool
