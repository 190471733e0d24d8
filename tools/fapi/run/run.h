// SPDX-License-Identifier: Apache-2.0
// One run of one plan, seen from the process that must not die.
#ifndef FAPI_BENCH_RUN_RUN_H
#define FAPI_BENCH_RUN_RUN_H

#include <sys/types.h>

#include "base/interrupts.h"
#include "record/unfinished_run.h"
#include "report/report.h"

namespace tool {

// Runs the plan in a process after the other until the last step is done, whatever becomes of them.
class PlanRun {
public:
    // `report` is what the names of the report's files begin with; empty: there is none. `unfinished` is told of
    // everything that a resumed run needs; null: nobody is.
    PlanRun(const Plan& plan, const SessionOptions& session, const std::string& report, Progress& progress,
            Interrupts& interrupts, UnfinishedRun* unfinished);

    // Before run(): goes on where that one ended.
    void resume();

    // Throws SetError when the set cannot be had and nothing was called.
    void run();

    const PlanResult& result() const { return _result; }

private:
    void runProcess();
    void watch(int descriptor, pid_t child);
    bool readRecords(int descriptor);
    void interrupt(int descriptor, pid_t child);
    void take(Record record);
    void takeEnd(const Record& record);
    void takeRefusal(const Judgement& judgement);
    void afterDeath(int status);
    std::string deathText(int status) const;
    const PlanLine* runningLine() const;
    std::string atRunningLine(const std::string& text) const;
    Attempt& attempt();
    bool isInTeardown() const;
    void endStep(const Judgement& judgement);
    void saveStep(std::size_t index);
    void cutShort();

    const Plan& _plan;
    const SessionOptions& _session;
    const std::string _report;
    const std::unique_ptr<StepLog> _log;  // null without a report
    Progress& _progress;
    Interrupts& _interrupts;
    PlanResult _result;

    UnfinishedRun* _unfinished;
    Variables _keptSince;    // the last step that was saved
    std::size_t _first = 0;  // the step that the run begins with

    Position _position;  // where the next process begins
    Variables _variables;
    std::string _unread;            // the beginning of a record
    std::size_t _next = 0;          // the first step that has not begun
    bool _inStep = false;           // a step has begun and not ended ...
    bool _inAttempt = false;        // ... and is not waiting for its next attempt
    bool _heard = false;            // from the present process
    bool _rebootDue = false;        // the present process has announced it
    bool _stepInterrupted = false;  // the present process was killed for Ctrl-C
    bool _over = false;
    std::string _refusal;  // why nothing was called
};

}  // namespace tool

#endif
