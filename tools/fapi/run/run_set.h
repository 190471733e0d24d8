// SPDX-License-Identifier: Apache-2.0
// The set that a plan runs on: calls, what comes beside their answers, and what ends them from outside.
#ifndef FAPI_BENCH_RUN_RUN_SET_H
#define FAPI_BENCH_RUN_RUN_SET_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/interrupts.h"
#include "base/picture.h"
#include "operator/question.h"
#include "plan/calls.h"
#include "plan/event.h"
#include "program/program_run.h"
#include "run/armed_faults.h"
#include "run/step_log.h"
#include "target/command.h"

namespace tool {

// Thrown when the set's worker has ended, and nobody has asked it to.
struct WorkerEnded {
    std::string how;  // "the process died of SIGSEGV (Segmentation fault)"
};

// Thrown when the user has interrupted the run.
struct RunInterrupted {};

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

    // Runs the command. Nothing when it has switched the set off and on, which it then was to do. Throws WorkerEnded,
    // and RequestError for the rest.
    std::optional<CallAnswer> run(const Command& command);
    // Method `method` of the agent. Throws as run() does.
    Field ask(const std::string& method, const Field& params);
    Picture takePicture(const std::string& what);
    // Asks a person. Throws as rest() does, and RequestError `stationFailed` without an answer.
    GivenAnswer ask(const Question& question);
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

    EventQueue& events() { return _events; }
    CallWatch& calls() { return _calls; }
    ArmedFaults& faults() { return _faults; }
    StepLog& log() { return _log; }

private:
    template <class Request>
    auto guarded(Request&& request) -> decltype(request());
    Target& join();
    void listen();
    void takeCalls(const Field& params);
    bool hasLogOn();
    void takeEnd(const Field& params);
    void takeWire(const Field& params);
    void takeClaim(const Field& params);
    void takeSignals();
    void endRequest();
    std::uint64_t flushCalls();
    void askForCalls();
    void checkEnds();
    void pumpUntil(std::chrono::steady_clock::time_point until);
    std::optional<CallAnswer> runEnding(const Command& command);

    const RunSetOptions _options;
    Interrupts& _interrupts;
    const std::function<void()> _refresh;
    Descriptor _timer;
    EventQueue _events;
    CallWatch _calls;
    ArmedFaults _faults;
    StepLog _log;
    std::string _boots;
    Field _hello;
    std::chrono::steady_clock::duration _agentClock{0};  // how far it is ahead of this PC's
    bool _showsLog = false;
    bool _keepsCalls = false;  // the line expects calls
    bool _isBehind = false;    // calls and refusals may have come since the last answer
    bool _isTeardown = false;
    bool _isInterrupted = false;
    std::optional<WorkerEnded> _ended;
    std::string _lost;        // why there is no agent any more, or another one
    std::string _wireDamage;  // what the wire may have lost; empty: nothing
};

}  // namespace tool

#endif
