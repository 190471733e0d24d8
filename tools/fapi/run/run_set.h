// SPDX-License-Identifier: Apache-2.0
// The set that a plan runs on: calls, what comes beside their answers, and what ends them from outside.
#ifndef FAPI_BENCH_RUN_RUN_SET_H
#define FAPI_BENCH_RUN_RUN_SET_H

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/interrupts.h"
#include "base/picture.h"
#include "judge/calls.h"
#include "judge/event.h"
#include "operator/question.h"
#include "program/program_run.h"
#include "record/result.h"
#include "run/armed_faults.h"
#include "run/side_by_side.h"
#include "run/step_log.h"
#include "target/command.h"

namespace tool {

// Thrown when the set's worker has ended, and nobody has asked it to.
struct WorkerEnded {
    std::string how;  // "the process died of SIGSEGV (Segmentation fault)"
};

// Thrown when something has reached its limit of time.
struct TimedOut {
    std::string what;          // "did not end within 5s, the limit of the step"
    bool endedWorker = false;  // a call was ended, and with it what the set has in memory
};

// Thrown when what has reached its limit cannot be ended: the set is of no use before its power was switched.
struct SetStuck {
    std::string how;
};

// Thrown when the user has interrupted the run.
struct RunInterrupted {};

// When a step, or a line of it, has to have ended.
struct TimeLimit {
    std::chrono::steady_clock::time_point at = std::chrono::steady_clock::time_point::max();
    std::string what;  // "5s, the limit of the step"
};

// Thrown when another client has taken the set, which is not the run's any more.
struct SetTaken {
    std::string how;  // "fapi take (process 4711) has taken the set: the shift ends"
};

// Thrown when the set cannot be switched on again.
class SetLost : public RequestError {
public:
    using RequestError::RequestError;
};

struct RunSetOptions {
    SessionOptions session;
    std::string plan;           // what other clients are told of the claim
    bool isShared = false;      // other clients may act, too
    bool keepsLog = false;      // for a report
    bool followsCalls = false;  // of the middleware, for expectations and faults
};

class RunSet {
public:
    // `refresh` is called while there is something to wait for, so often; never when that is negative.
    RunSet(RunSetOptions options, const std::vector<PlanFault>& faults, Interrupts& interrupts,
           std::function<void()> refresh, int refreshMilliseconds);
    ~RunSet();
    RunSet(const RunSet&) = delete;
    RunSet& operator=(const RunSet&) = delete;

    // Joins the set's hub and claims the set, which switchOn() has to follow: nothing of before is left then. Throws
    // RequestError, and RunInterrupted and SetTaken as all below.
    void open();
    // Switches the set off and on, or begins with another worker where that cannot be done from here. Forgets events,
    // calls and armed faults. Throws SetLost.
    void switchOn();
    // How often the set was switched on since it was made; empty for one that does not count that.
    const std::string& boots() const { return _boots; }
    // What the agent says of itself.
    const Field& hello() const { return _hello; }

    // A step's first interrupt ends it; in a teardown it is counted and nothing else. Throws RunInterrupted.
    void beginStep(bool isTeardown);
    // Throws what has come meanwhile; RequestError when hub or agent are gone.
    void check();

    // Of the step that runs, until others are set. `usual` is that of a step without one of its own: while a person is
    // waited for it stands still.
    void setLimits(TimeLimit limit, TimeLimit usual = {});
    // The one that comes first.
    const TimeLimit& limit() const;

    // Carries out parts side by side, each with events, log and limit of its own. Calls of one part let another go on
    // when they wait. Throws what a part has thrown.
    void runAlongside(std::size_t count, const std::function<void(std::size_t part)>& part);
    // The part that runs; 0 when nothing runs side by side.
    std::size_t lane() const { return _sideBySide != nullptr ? _sideBySide->current() : 0; }
    // From now on every part throws this when it next waits or begins a line.
    void endParts(std::exception_ptr why) { _whyEnded = std::move(why); }
    // Where the time has gone since the last call of beginTimes().
    const RunTimes& times() const { return _times; }
    void beginTimes() { _times = {}; }

    // Runs the command. Nothing when it has switched the set off and on, which it then was to do. Throws WorkerEnded,
    // TimedOut and SetStuck, and RequestError for the rest.
    // `limit` is for this command alone.
    std::optional<CallAnswer> run(const Command& command, const TimeLimit& limit = {});
    // Method `method` of the agent. Throws as run() does.
    Field ask(const std::string& method, const Field& params);
    Picture takePicture(const std::string& what);
    // Asks a person. Throws as rest() does, and RequestError `stationFailed` without an answer.
    GivenAnswer ask(const Question& question);
    // What has been answered in the line, for the record.
    std::vector<GivenAnswer> takeAnswers() { return std::exchange(_lanes[lane()].answers, {}); }
    // What is to be seen with the question. The question without it is better than none.
    std::optional<Picture> pictureFor(const Question& question);
    // Runs a program of this PC to its end. Throws as rest() does, and RequestError `stationFailed`.
    ProgramResult runProgram(const ProgramCall& call);
    // The agent's clock, by which events come.
    std::chrono::steady_clock::time_point agentNow() const { return std::chrono::steady_clock::now() + _agentClock; }
    // Waits so long. Throws WorkerEnded and RunInterrupted.
    void rest(std::chrono::milliseconds time);

    // Begins a line; `expectsCalls` when its calls will be judged.
    void beginLine(bool expectsCalls);
    // Asks for the calls and refusals since the last answer, when there may be some.
    void catchUp();
    // Judges an expectation, waiting for the event.
    Judgement judge(const EventCondition& condition, const std::string& text, const Variables& variables);

    // Why what has come since the last call of this may not be all; empty: nothing is missing.
    std::string takeWireDamage();

    EventQueue& events() { return _lanes[lane()].events; }
    CallWatch& calls() { return _calls; }
    ArmedFaults& faults() { return _faults; }
    StepLog& log() { return _lanes[lane()].log; }

    // As long as this is there a person is waited for.
    class PersonsTime {
    public:
        explicit PersonsTime(RunSet& set);
        ~PersonsTime();
        PersonsTime(const PersonsTime&) = delete;
        PersonsTime& operator=(const PersonsTime&) = delete;

    private:
        RunSet& _set;
        const TimeLimit _usual;
        const std::chrono::steady_clock::time_point _begun = std::chrono::steady_clock::now();
    };

private:
    using Steady = std::chrono::steady_clock;

    // What each part has of its own.
    struct Lane {
        EventQueue events;
        StepLog log;
        TimeLimit limit, usual;
        TimeLimit callLimit;  // of the command that runs
        std::vector<GivenAnswer> answers;
        std::string wireDamage;  // what the wire may have lost; empty: nothing
        bool isTeardown = false;
        bool isBehind = false;  // calls and refusals may have come since the last answer
    };

    template <class Request>
    auto guarded(Request&& request) -> decltype(request());
    Target& join();
    void listen();
    void takeCalls(const Field& params);
    bool hasLogOn();
    void takeEnd(const Field& params);
    void takeWire(const Field& params);
    void takeClaim(const Field& params);
    bool isTeardown() const;
    void takeSignals();
    void takeLimit();
    void armLimit();
    void setTimer(std::chrono::steady_clock::time_point at);
    void endRequest();
    std::uint64_t flushCalls();
    void askForCalls();
    void checkEnds();
    void waitUntil(std::chrono::steady_clock::time_point until);
    void waitBesides(std::vector<pollfd>& waited, std::chrono::steady_clock::time_point until);
    void pumpUntil(std::chrono::steady_clock::time_point until);
    CallAnswer runByPerson(const Command& command, const CallOptions& options);
    void keepAnswers();
    std::optional<CallAnswer> runEnding(const Command& command);

    const RunSetOptions _options;
    Interrupts& _interrupts;
    const std::function<void()> _refresh;
    Descriptor _timer;
    Descriptor _limitTimer;
    std::vector<Lane> _lanes{1};
    std::unique_ptr<SideBySide> _sideBySide;  // null unless parts run side by side
    std::exception_ptr _whyEnded;             // they have to end; null: they need not
    RunTimes _times;
    CallWatch _calls;
    ArmedFaults _faults;
    std::string _boots;
    Field _hello;
    std::chrono::steady_clock::duration _agentClock{0};  // how far it is ahead of this PC's
    bool _showsLog = false;
    bool _keepsCalls = false;  // the line expects calls
    bool _isInterrupted = false;
    bool _isRequesting = false;  // a request is waited for
    bool _isTimedOut = false;    // the request that is waited for has been ended for that
    TimeLimit _armed;            // of the request that is waited for
    std::chrono::steady_clock::time_point _timerAt = std::chrono::steady_clock::time_point::max();
    bool _isStuck = false;
    std::optional<WorkerEnded> _ended;
    std::string _lost;  // why there is no agent any more, or another one
};

}  // namespace tool

#endif
