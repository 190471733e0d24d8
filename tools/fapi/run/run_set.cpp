// SPDX-License-Identifier: Apache-2.0
// The set that a plan runs on.
#include "run/run_set.h"

#include <algorithm>
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
    const timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000000l};
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
      _limitTimer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
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
    if (boundActions() != nullptr) {
        boundActions()->waitForPersons({});
    }
    if (!isSessionOpen()) {
        return;
    }
    session().listen("claim", nullptr);
    session().unwatch(_limitTimer.get());
    try {
        if (_isStuck) {
            // The set answers nothing that it would have to be waited for.
            throw RequestError(ErrorCode::stuck, "");
        }
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
        if (!isTeardown() || _interrupts.count() > 1) {
            throw RunInterrupted();
        }
    }
}

void RunSet::listen() {
    Target& target = session();
    target.listen("event", [this](const Field& params) {
        for (Lane& each : _lanes) {
            each.events.add(parseEvent(params));
        }
    });
    target.listen("journal", [this](const Field& params) { takeCalls(params); });
    target.listen("worker", [this](const Field& params) { takeEnd(params); });
    target.listen("claim", [this](const Field& params) { takeClaim(params); });
    target.listen("wire", [this](const Field& params) { takeWire(params); });
    target.listen("log", [this](const Field& params) {
        const std::string line = std::get<std::string>(params.at("text").value());
        if (_options.keepsLog) {
            for (Lane& each : _lanes) {
                each.log.add(line, params["dropped"].numberOr(0));
            }
        }
        if (_showsLog) {
            std::fprintf(stderr, "%s\n", line.c_str());
        }
    });
    target.watch(_interrupts.descriptor(), [this] { takeSignals(); });
    target.watch(_limitTimer.get(), [this] { takeLimit(); });
    if (_timer) {
        target.watch(_timer.get(), [this] {
            std::uint64_t times = 0;
            static_cast<void>(read(_timer.get(), &times, sizeof(times)));
            _refresh();
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
    takeWireDamage();
    events().clear();
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
        for (Lane& each : _lanes) {
            each.wireDamage = "the wire has lost something meanwhile: " + params["reason"].textOr("");
        }
    } else if (state == "ended") {
        // The hub starts another agent for the next request, which has nothing of what was called before.
        _lost = params["reason"].textOr("");
    } else if (state == "started" && !params["same"].flagOr(false) && _lost.empty()) {
        _lost = "the wire was lost, and the set's agent is a new one: what it had in memory is gone";
    }
}

std::string RunSet::takeWireDamage() {
    return std::exchange(_lanes[lane()].wireDamage, "");
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
    _lanes[lane()].isTeardown = isTeardown;
    takeSignals();
    if (std::exchange(_isInterrupted, false)) {
        throw RunInterrupted();
    }
}

// Whether nothing but teardowns runs.
bool RunSet::isTeardown() const {
    return std::all_of(_lanes.begin(), _lanes.end(), [](const Lane& each) { return each.isTeardown; });
}

void RunSet::takeSignals() {
    if (!_interrupts.take() || (isTeardown() && _interrupts.count() == 1)) {
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
    if (_whyEnded && _sideBySide) {
        std::rethrow_exception(_whyEnded);
    }
    if (Steady::now() >= limit().at) {
        throw TimedOut{"did not end within " + limit().what, false};
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
    armLimit();
    const bool isOuter = !std::exchange(_isRequesting, true);
    _isTimedOut = _isTimedOut && !isOuter;
    struct Requesting {
        ~Requesting() {
            if (isOuter) {
                set._isRequesting = false;
                set._times.calls += std::chrono::duration<double>(Steady::now() - begun).count();
            }
            if (set._sideBySide) {
                set._sideBySide->wakeAll();
            }
        }
        RunSet& set;
        const bool isOuter;
        const Steady::time_point begun = Steady::now();
    } const requesting{*this, isOuter};
    try {
        return request();
    } catch (const RequestError& error) {
        const bool isEnded = error.code() == ErrorCode::died || error.code() == ErrorCode::canceled;
        if (isEnded && std::exchange(_isTimedOut, false)) {
            _ended.reset();
            throw TimedOut{"did not end within " + _armed.what, true};
        }
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

// --- Limits of time --------------------------------------------------------------------------------------------------

void RunSet::setLimits(TimeLimit limit, TimeLimit usual) {
    _lanes[lane()].limit = std::move(limit);
    _lanes[lane()].usual = std::move(usual);
}

const TimeLimit& RunSet::limit() const {
    const Lane& here = _lanes[lane()];
    const TimeLimit& steps = here.usual.at < here.limit.at ? here.usual : here.limit;
    return here.callLimit.at < steps.at ? here.callLimit : steps;
}

// Each step has a limit of its own. The timer is set where it would come too late; one that comes too early is set
// again.
void RunSet::armLimit() {
    if (const TimeLimit& first = limit(); first.at != _armed.at) {
        _armed = first;
    }
    if (_armed.at < _timerAt) {
        setTimer(_armed.at);
    }
}

void RunSet::setTimer(Steady::time_point at) {
    _timerAt = at;
    const auto since = at.time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
    const itimerspec time = {{}, {seconds.count(), std::chrono::nanoseconds(since - seconds).count()}};
    timerfd_settime(_limitTimer.get(), TFD_TIMER_ABSTIME, &time, nullptr);
}

// Ends the request that is waited for; a wait ends by itself.
void RunSet::takeLimit() {
    std::uint64_t times = 0;
    if (read(_limitTimer.get(), &times, sizeof(times)) != sizeof(times)) {
        return;
    }
    _timerAt = Steady::time_point::max();
    if (!_isRequesting) {
        return;
    }
    if (Steady::now() < _armed.at) {
        if (_armed.at != Steady::time_point::max()) {
            setTimer(_armed.at);
        }
        return;
    }
    _isTimedOut = true;
    if (boundActions() != nullptr) {
        boundActions()->endAwaited();
    }
    try {
        session().endAwaited();
    } catch (const RequestError& error) {
        if (error.code() != ErrorCode::begun && error.code() != ErrorCode::stuck) {
            printMessage(error.what());
            return;
        }
        _isStuck = true;
        const char* why = error.code() == ErrorCode::begun ? ", and must finish" : ", and cannot be ended";
        throw SetStuck{"stuck, needs power: did not end within " + _armed.what + why};
    }
}

// --- Parts side by side ----------------------------------------------------------------------------------------------

void RunSet::runAlongside(std::size_t count, const std::function<void(std::size_t part)>& part) {
    _whyEnded = nullptr;
    Lane before = std::move(_lanes[0]);
    _lanes = std::vector<Lane>(count);
    _sideBySide = std::make_unique<SideBySide>([this](Steady::time_point until) { pumpUntil(until); });
    try {
        _sideBySide->run(count, part);
    } catch (...) {
        _sideBySide.reset();
        _lanes.resize(1);
        throw;
    }
    _sideBySide.reset();
    _lanes.resize(1);
    _lanes[0].limit = std::move(before.limit);
    _lanes[0].usual = std::move(before.usual);
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

std::optional<CallAnswer> RunSet::run(const Command& command, const TimeLimit& limit) {
    struct Call {
        ~Call() { lane.callLimit = {}; }
        Lane& lane;
    } const call{_lanes[lane()]};
    call.lane.callLimit = limit;
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
    const bool isBound = command.action() != nullptr && command.action() == findBoundAction(command.action()->name);
    const bool isPersons = isBound && boundActions()->asksOperator(command.action()->name);
    std::optional<CallAnswer> answer = isPersons ? runByPerson(command, options)
                                       : command.endsProcess()
                                           ? runEnding(command)
                                           : guarded([&] { return std::optional(command.run(options)); });
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
        events().beginWait(answer->ended);
        _lanes[lane()].isBehind = false;
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
    _lanes[lane()].isBehind = true;
    Field answer = guarded([&] { return session().request(method, params); });
    checkEnds();
    return answer;
}

Picture RunSet::takePicture(const std::string& what) {
    _lanes[lane()].isBehind = true;
    return guarded([&] { return tool::takePicture(what); });
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
    if (_sideBySide) {
        // Whoever waits may have got what it waits for.
        waitUntil(Steady::now());
    }
    check();
    _keepsCalls = expectsCalls;
    if (expectsCalls) {
        _calls.beginLine(flushCalls());
    }
    _lanes[lane()].isBehind = false;
}

void RunSet::catchUp() {
    if (_lanes[lane()].isBehind) {
        askForCalls();
    }
}

void RunSet::askForCalls() {
    if (_keepsCalls) {
        flushCalls();
    }
    _lanes[lane()].isBehind = false;
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
