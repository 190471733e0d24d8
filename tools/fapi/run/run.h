// SPDX-License-Identifier: Apache-2.0
// One run of one plan.
#ifndef FAPI_BENCH_RUN_RUN_H
#define FAPI_BENCH_RUN_RUN_H

#include <exception>
#include <map>

#include "record/unfinished_run.h"
#include "report/report.h"
#include "run/line_run.h"
#include "run/progress.h"
#include "run/run_set.h"

namespace tool {

// What a run is told besides its plan.
struct RunInput {
    ParameterValues parameters;
    Limits limits;
    std::vector<Waiver> waivers;
    std::string waiver;  // why a plan without approval is run; empty: it is approved
    std::vector<ExpectedFailure> expected;
    std::chrono::milliseconds programWithin{30000};  // a program of the plan, unless its line says otherwise
    std::vector<StationInstrument> instruments;      // of the station
};

// Runs the plan step by step until the last one is done, whatever becomes of the set's worker.
class PlanRun {
public:
    // `report` is what the names of the report's files begin with; empty: there is none. `unfinished` is told of
    // everything that a resumed run needs; null: nobody is.
    PlanRun(const Plan& plan, const RunInput& input, const SessionOptions& session, bool isShared,
            const std::string& report, Progress& progress, Interrupts& interrupts, UnfinishedRun* unfinished);

    // Before run(): goes on where that one ended.
    void resume();

    // Joins the set and claims it. Throws SetError when it is not available, and RunInterrupted.
    void open();
    // What the agent has said of itself, once the run is open.
    const Field& hello() const { return _set.hello(); }
    // Throws as open() does while nothing was called.
    void run();

    const PlanResult& result() const { return _result; }
    // At the end: a copy of a long run's steps takes as much memory as they do.
    PlanResult takeResult() { return std::move(_result); }

private:
    enum class State {
        between,  // two steps
        attempt,  // at a step
        pause,    // between two attempts at it
        over
    };
    // What goes on with a part of the plan: the whole, or a group beside others.
    struct Lane {
        State state = State::between;
        std::size_t next = 0, end = 0;  // the first step that has not begun, and where it ends
        std::size_t step = 0;           // the one that runs
        std::size_t line = 0;           // of it, the one that runs
        bool stopped = false;           // only teardown steps run any more
        StepPlace place;                // of the step
        std::string label;              // of the loops that it is in
        Variables variables;
        Variables kept;  // since the last step that was saved
    };
    struct GroupState {
        std::size_t end = 0;
        bool hasFailed = false;  // in its set-up
    };

    Lane& lane() { return _isAlongside ? _lanes[_set.lane()] : _whole; }
    const Lane& lane() const { return _isAlongside ? _lanes[_set.lane()] : _whole; }
    template <class Part>
    void carryOut(Part&& part);
    template <class Part>
    static void beforeSteps(Part&& part);
    std::size_t stepsForTeardown() const;
    void bringUp(std::size_t steps);
    void mend();
    void runSteps();
    bool isWanted(const StepPlace& place, std::string& why) const;
    void noteGroups(const Step& step);
    void runStep();
    void runAttempts(const Step& step);
    void runAttempt(const Step& step);
    void runLines(const Step& step);
    void endAttempt(const Step& step, bool isLast);
    void skipStep(const std::string& why);
    void setLimitsOf(const Step& step);
    StepNames namesOf(const Step& step);
    void runAlongside(const Frame& frame);
    void runLane(const PlanPart& part, std::size_t begin);
    void takeInterrupt();
    void takeTimeOut(const TimedOut& timeOut);
    void takeTrouble(const RequestError& error, const std::string& text);
    void takeLoss(const std::string& how, const std::string& text);
    void endOthers(std::exception_ptr why);
    void leave(bool isOver);
    void endStep(const Judgement& judgement);
    void saveStep(std::size_t index);
    const PlanLine* runningLine() const;
    std::string atRunningLine(const std::string& text) const;
    bool hasReport() const { return !_report.empty(); }

    const Plan& _plan;
    const std::string _report;
    const Limits& _limits;
    Progress& _progress;
    Interrupts& _interrupts;
    UnfinishedRun* _unfinished;
    PlanResult _result;
    RunSet _set;
    InstrumentLocks _instruments;
    const ProgramSurroundings _programs;

    Lane _whole;
    std::vector<Lane> _lanes;  // of groups side by side
    bool _isAlongside = false;
    bool _isOver = false;  // something has ended the whole run while groups ran side by side
    std::map<std::pair<std::size_t, const PlanPart*>, GroupState>
        _groups;  // those that have begun, by their first step
    Clock::time_point _planLimit = Clock::time_point::max();
    bool _hasBegun = false;  // something was called, in this process
    // What has to be done before the next step, because the step before was ended from outside.
    enum class Mend { nothing, worker, connection } _mend = Mend::nothing;
};

}  // namespace tool

#endif
