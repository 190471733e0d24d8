// SPDX-License-Identifier: Apache-2.0
// One line of a plan: carried out, judged, and told to the report.
#ifndef FAPI_BENCH_RUN_LINE_RUN_H
#define FAPI_BENCH_RUN_LINE_RUN_H

#include <string>

#include "report/report.h"
#include "run/run_set.h"

namespace tool {

// What the lines of a run have in common.
struct LineRunContext {
    RunSet& set;
    Variables& variables;
    Variables& kept;  // what the lines have kept since this was emptied
    const Limits& limits;
    const std::string& report;  // what the names of the report's files begin with; empty: there is none
    bool judgesRefusals;
};

class LineRun {
public:
    LineRun(const LineRunContext& context, const PlanLine& line, Attempt& attempt)
        : _context(context), _set(context.set), _line(line), _attempt(attempt), _number(line.line) {}

    // Adds to the attempt what came of the line. False when it has switched the set off and on, and nothing is to be
    // judged. Throws what RunSet::run() does, but for requests that are no more than refused.
    bool run();

private:
    bool runCommand();
    void runOwn();
    // What a line of LineKind does; expectations and keeps after the line see the outcome.
    Outcome takePicture();
    Outcome takeData();
    Outcome rest();
    void finish();
    Words words() const;
    bool hasReport() const { return !_context.report.empty(); }
    void judgeOutcome(const Command& command, const Outcome& outcome);
    void followUp(const Command& command, const Outcome& outcome);
    Json judgeExpectation(const Expectation& expectation, const Command& command, const Outcome& outcome);
    Judgement judgementOf(const Expectation& expectation, const Command& command, const Outcome& outcome, Json& judged);
    Judgement judgeMeasure(const Measure& measure, const Command& command, const Outcome& outcome, Json& judged);
    void addEvent(const EventCondition& condition, const Event& event, Json& judged) const;
    void keep(const Keep& keep, const Outcome& outcome);
    std::optional<Value> valueOf(std::string_view output, const Outcome& outcome) const;
    void worsen(const Judgement& judgement, unsigned int line);

    const LineRunContext& _context;
    RunSet& _set;
    const PlanLine& _line;
    Attempt& _attempt;
    unsigned int _number;  // the line that a wrong word would be in
    Json _told;            // of the line, for the report
    Clock::time_point _start = Clock::now();
    Clock::time_point _begun;  // by the agent's clock
};

}  // namespace tool

#endif
