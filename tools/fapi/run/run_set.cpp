// SPDX-License-Identifier: Apache-2.0
// The set that a plan runs on.
#include "run/run_set.h"

#include <cstdio>

#include <sys/timerfd.h>
#include <unistd.h>

#include "base/terminal.h"
#include "operator/operator.h"
#include "target/bound_actions.h"
#include "target/picture_source.h"
#include "target/session.h"
#include "target/worker_end.h"

namespace tool {

namespace {

using Steady = std::chrono::steady_clock;

constexpr char kWatchdog[] = "watchdog";
constexpr char kReason[] = "reason";

// How a worker has ended, as a notification or a failure says it.
WorkerEnded endOf(const Field& how) {
    const std::string reason = how[kReason].textOr("");
    if (reason == kWatchdog) {
        return {"the watchdog has rebooted the set"};
    }
    if (reason == "power") {
        return {"another program has switched the set off"};
    }
    return {(how.has("signal") ? "the process died of " : "the process ended with ") + causeOf(how)};
}

// Readable each time so many milliseconds have passed.
Descriptor timerOf(int milliseconds) {
    if (milliseconds < 0) {
        return {};
    }
    Descriptor timer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    const timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000000};
    const itimerspec period = {time, time};
    timerfd_settime(timer.get(), 0, &period, nullptr);
    return timer;
}

bool isUnknown(const RequestError& error) {
    return error.code() == ErrorCode::notSupported || error.code() == ErrorCode::unknownMethod;
}

}  // namespace

RunSet::RunSet(RunSetOptions options, const std::vector<PlanFault>& faults, Interrupts& interrupts,
               std::function<void()> refresh, int refreshMilliseconds)
    : _options(std::move(options)),
      _interrupts(interrupts),
      _refresh(std::move(refresh)),
      _timer(timerOf(refreshMilliseconds)),
      _faults(
          faults,
          [this](const std::string& name, const std::vector<Value>& arguments) {
              const Action* action = findAction(name);
              if (action == nullptr) {
                  throw RequestError(ErrorCode::notSupported, "this set has no faults");
              }
              guarded([&] { return carryOut(*action, arguments); });
          },
          [this] { flushCalls(); }) {}

RunSet::~RunSet() {
    if (!isSessionOpen()) {
        return;
    }
    session().listen("claim", [](const Field&) {});
    try {
        // Other clients may stay.
        session().request("log-switch", {{"state", "set"}});
    } catch (const RequestError&) {
        // There is no hub any more.
    }
    closeSession();
}

// --- The set's worker ------------------------------------------------------------------------------------------------

void RunSet::open() {
    if (isSessionOpen()) {
        closeSession();
    }
    Target& target = join();
    _lost.clear();
    _hello = target.hello();
    listen();
    guarded([&] {
        target.claim("runs the plan " + _options.plan);
        if (_options.isShared) {
            target.share(true);
        }
        if (_options.keepsLog) {
            target.request("log-switch", {{"state", "run"}});
        }
        _showsLog = !_options.keepsLog;
        listenToEvents(true);
        if (_options.followsCalls) {
            flushCalls();
        }
    });
}

// Waits for the set until that is interrupted.
Target& RunSet::join() {
    SessionOptions options = _options.session;
    options.stop = _interrupts.descriptor();
    for (;;) {
        try {
            return openSession(options);
        } catch (const RequestError& error) {
            if (error.code() == ErrorCode::unavailable) {
                // Which is no matter of the set.
                throw RequestError(ErrorCode::ended, error.what());
            }
            if (error.code() != ErrorCode::canceled) {
                throw;
            }
        }
        _interrupts.take();
        if (!_isTeardown || _interrupts.count() > 1) {
            throw RunInterrupted();
        }
    }
}

void RunSet::listen() {
    Target& target = session();
    target.listen("event", [this](const Field& params) { _events.add(parseEvent(params)); });
    target.listen("journal", [this](const Field& params) { takeCalls(params); });
    target.listen("worker", [this](const Field& params) { takeEnd(params); });
    target.listen("claim", [this](const Field& params) { takeClaim(params); });
    target.listen("wire", [this](const Field& params) { takeWire(params); });
    target.listen("log", [this](const Field& params) {
        const std::string line = std::get<std::string>(params.at("text").value());
        if (_options.keepsLog) {
            _log.add(line, params["dropped"].numberOr(0));
        }
        if (_showsLog) {
            std::fprintf(stderr, "%s\n", line.c_str());
        }
    });
    target.watch(_interrupts.descriptor(), [this] { takeSignals(); });
    if (_timer) {
        target.watch(_timer.get(), [this] {
            std::uint64_t times = 0;
            static_cast<void>(read(_timer.get(), &times, sizeof(times)));
            if (!isQuestionShown()) {
                _refresh();
            }
        });
    }
}

void RunSet::switchOn() {
    guarded([&] {
        try {
            const std::optional<long long> boots = powerCycle();
            _boots = boots ? std::to_string(*boots) : "";
        } catch (const RequestError& error) {
            if (error.code() == ErrorCode::died || error.code() == ErrorCode::canceled) {
                throw;
            }
            if (!isUnknown(error)) {
                throw SetLost(error.failure());
            }
            session().request("end-worker");
        }
    });
    _ended.reset();
    _lost.clear();
    _wireDamage.clear();
    _events.clear();
    _faults.beginWorker();
    _calls.beginWorker();
    // What it took to switch the set on is no matter of a line.
    askForCalls();
    _calls.takeRefusals();
}

void RunSet::takeEnd(const Field& params) {
    if (params["state"].textOr("") == "ended") {
        _ended = endOf(params);
        _calls.beginWorker();
    }
}

// What a wire may have lost is not known to be right or wrong of the set.
void RunSet::takeWire(const Field& params) {
    const std::string state = params["state"].textOr("");
    if (state == "damaged" || state == "lost") {
        _wireDamage = "the wire has lost something meanwhile: " + params["reason"].textOr("");
    } else if (state == "ended") {
        // The hub starts another agent for the next request, which has nothing of what was called before.
        _lost = params["reason"].textOr("");
    } else if (state == "started" && !params["same"].flagOr(false) && _lost.empty()) {
        _lost = "the wire was lost, and the set's agent is a new one: what it had in memory is gone";
    }
}

std::string RunSet::takeWireDamage() {
    return std::exchange(_wireDamage, "");
}

// Whatever is waited for: what the set answers is the other client's.
void RunSet::takeClaim(const Field& params) {
    if (params["taken"].flagOr(false)) {
        throw SetTaken{"the set was taken by " + params["name"].textOr("") + " (process " +
                       std::to_string(params["pid"].numberOr(0)) + "): " + params["reason"].textOr("")};
    }
}

// --- Interrupts ------------------------------------------------------------------------------------------------------

void RunSet::beginStep(bool isTeardown) {
    _isTeardown = isTeardown;
    takeSignals();
    if (std::exchange(_isInterrupted, false)) {
        throw RunInterrupted();
    }
}

void RunSet::takeSignals() {
    if (!_interrupts.take() || (_isTeardown && _interrupts.count() == 1)) {
        return;
    }
    if (!std::exchange(_isInterrupted, true)) {
        endRequest();
    }
}

// Ends what the set does for this run. What must finish goes on, and the run after it.
void RunSet::endRequest() {
    if (boundActions() != nullptr) {
        boundActions()->endAwaited();
    }
    try {
        session().endAwaited();
    } catch (const RequestError& error) {
        printMessage(error.what());
    }
}

void RunSet::check() {
    if (std::exchange(_isInterrupted, false)) {
        throw RunInterrupted();
    }
    if (!session().lost().empty()) {
        _lost = session().lost();
    }
    checkEnds();
}

// A worker that an interrupt has ended is no worker that has died.
void RunSet::checkEnds() {
    if (!_lost.empty()) {
        throw RequestError(ErrorCode::ended, _lost);
    }
    if (!_ended) {
        return;
    }
    const WorkerEnded end = *std::exchange(_ended, std::nullopt);
    if (std::exchange(_isInterrupted, false)) {
        throw RunInterrupted();
    }
    throw end;
}

// Makes of a request that was ended from outside what has ended it.
template <class Request>
auto RunSet::guarded(Request&& request) -> decltype(request()) {
    try {
        return request();
    } catch (const RequestError& error) {
        const bool isEnded = error.code() == ErrorCode::died || error.code() == ErrorCode::canceled;
        if (isEnded && std::exchange(_isInterrupted, false)) {
            _ended.reset();
            throw RunInterrupted();
        }
        if (error.code() == ErrorCode::died) {
            _ended.reset();
            throw endOf(error.failure().data);
        }
        throw;
    }
}

// --- What a line does ------------------------------------------------------------------------------------------------

// Whether the set's own switch has the library's log on; a board has none that could be asked for.
bool RunSet::hasLogOn() {
    try {
        return ask("set.log", Field::Fields())["on"].flagOr(false);
    } catch (const RequestError& error) {
        if (!isUnknown(error)) {
            throw;
        }
        return false;
    }
}

std::optional<CallAnswer> RunSet::run(const Command& command) {
    if (command.isPowerCycle()) {
        switchOn();
        return std::nullopt;
    }
    if (command.operation() != nullptr && command.operation()->readsLogSwitch && _options.keepsLog) {
        // The set's own switch shows the log, as it does without a report.
        _showsLog = _options.session.log || hasLogOn();
    }
    CallOptions options;
    options.prepare = false;
    options.refusedAfter = _calls.lastRefusal();
    std::optional<CallAnswer> answer =
        command.endsProcess() ? runEnding(command) : guarded([&] { return std::optional(command.run(options)); });
    const bool isBound = command.action() != nullptr && command.action() == findBoundAction(command.action()->name);
    if (answer) {
        checkEnds();
        _calls.addRefusals(std::move(answer->outcome.refusals));
        if (isBound) {
            // Events come by the agent's clock.
            answer->begun += _agentClock;
            answer->ended += _agentClock;
        } else {
            _agentClock = answer->ended - Steady::now();
        }
        _events.beginWait(answer->ended);
        _isBehind = false;
        // They are judged with the line.
        takeTroubles();
    }
    return answer;
}

// An action that waits for a reboot.
std::optional<CallAnswer> RunSet::runEnding(const Command& command) {
    CallOptions options;
    options.refusedAfter = _calls.lastRefusal();
    return guarded([&]() -> std::optional<CallAnswer> {
        try {
            return command.run(options);
        } catch (const RequestError& error) {
            if (error.code() != ErrorCode::died || error.failure().data[kReason].textOr("") != kWatchdog) {
                throw;
            }
        }
        switchOn();
        return std::nullopt;
    });
}

Field RunSet::ask(const std::string& method, const Field& params) {
    _isBehind = true;
    Field answer = guarded([&] { return session().request(method, params); });
    checkEnds();
    return answer;
}

Picture RunSet::takePicture(const std::string& what) {
    _isBehind = true;
    return guarded([&] { return tool::takePicture(what); });
}

GivenAnswer RunSet::ask(const Question& question) {
    _isBehind = true;
    return guarded([&] { return theOperator().ask(question, [this] { check(); }); });
}

ProgramResult RunSet::runProgram(const ProgramCall& call) {
    _isBehind = true;
    return guarded([&] { return runPlanProgram(call, [this] { check(); }); });
}

void RunSet::rest(std::chrono::milliseconds time) {
    const Steady::time_point until = Steady::now() + time;
    _isBehind = true;
    do {
        pumpUntil(until);
    } while (Steady::now() < until);
}

// Returns when something has come, too.
void RunSet::pumpUntil(Steady::time_point until) {
    check();
    const auto left = until - Steady::now();
    if (left > left.zero()) {
        session().pump(std::chrono::ceil<std::chrono::milliseconds>(left));
        check();
    }
}

Judgement RunSet::judge(const EventCondition& condition, const std::string& text, const Variables& variables) {
    // The deadline is the agent's. Until what came before it is here, this machine's clock says when to ask.
    const Steady::time_point until = Steady::now() + condition.within;
    bool isWhole = false;
    // What has made the event may have made the chip refuse something.
    _isBehind = true;
    return _events.judge(condition, text, variables, [&] {
        if (isWhole) {
            return false;
        }
        isWhole = Steady::now() >= until;
        isWhole ? askForCalls() : pumpUntil(until);
        return true;
    });
}

// --- Calls of the middleware -----------------------------------------------------------------------------------------

void RunSet::takeCalls(const Field& params) {
    for (const Field& field : params.at("calls").list()) {
        JournalCall call = parseJournalCall(field);
        _faults.add(call.name);
        if (_keepsCalls) {
            _calls.addCall(std::move(call));
        }
    }
}

std::uint64_t RunSet::flushCalls() {
    const Field answer = guarded([] { return session().request("journal", {{"on", true}}); });
    return static_cast<std::uint64_t>(answer["last"].numberOr(0));
}

void RunSet::beginLine(bool expectsCalls) {
    check();
    _keepsCalls = expectsCalls;
    if (expectsCalls) {
        _calls.beginLine(flushCalls());
    }
    _isBehind = false;
}

void RunSet::catchUp() {
    if (_isBehind) {
        askForCalls();
    }
}

void RunSet::askForCalls() {
    if (_keepsCalls) {
        flushCalls();
    }
    _isBehind = false;
    try {
        Field params = {{"after", _calls.lastRefusal()}};
        const Field answer = guarded([&] { return session().request("refusals", params); });
        _calls.addRefusals(parseOutcome(answer).refusals);
    } catch (const RequestError& error) {
        // A board's chip does not say what it has refused.
        if (!isUnknown(error)) {
            throw;
        }
    }
}

}  // namespace tool
