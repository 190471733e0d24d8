// SPDX-License-Identifier: Apache-2.0
// One line of a plan: carried out, judged, and told to the report.
#ifndef FAPI_BENCH_RUN_LINE_RUN_H
#define FAPI_BENCH_RUN_LINE_RUN_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "plan/prompt.h"
#include "program/program_run.h"
#include "report/report.h"
#include "run/run_set.h"
#include "station/instruments.h"

namespace tool {

// What programs of a plan are told, and where those are that it names.
struct ProgramSurroundings {
    std::string folder;
    std::vector<std::pair<std::string, std::string>> environment;
    std::chrono::milliseconds within{30000};  // unless the line says otherwise
};

// What the lines of a run have in common.
struct LineRunContext {
    RunSet& set;
    Variables& variables;
    Variables& kept;           // what the lines have kept since this was emptied
    const std::string& label;  // of the loops that the step is in: "[ch=21]"
    const Limits& limits;
    const std::string& report;  // what the names of the report's files begin with; empty: there is none
    bool judgesRefusals;
    const ProgramSurroundings& programs;
    InstrumentLocks& instruments;
};

double secondsSince(Clock::time_point start);
// Whose fault it is that the set does not answer.
Verdict verdictOf(const RequestError& error);
// "line 12", "common.plan, line 12"
std::string placeText(const Step& step, unsigned int line);

class LineRun {
public:
    LineRun(const LineRunContext& context, const Step& step, const PlanLine& line, Attempt& attempt)
        : _context(context), _set(context.set), _step(step), _line(line), _attempt(attempt), _number(line.line) {}

    // Adds to the attempt what came of the line. False when it has switched the set off and on, and nothing is to be
    // judged. Throws what RunSet::run() does, but for requests that are no more than refused.
    bool run();

private:
    bool skip();
    bool runCommand();
    void runOwn();
    // What a line of LineKind does; expectations and keeps after the line see the outcome.
    Outcome takePicture();
    Outcome takeData();
    Outcome rest();
    // line_work.cpp: what is no matter of the set
    Outcome askPerson();
    Question questionWith(const PromptLine& prompt) const;
    Outcome showUntil(const PromptLine& prompt);
    Outcome runProgram();
    Outcome takeInstruments();
    void judgeProgram(const Words& command, const ProgramResult& result);
    void attach(const std::vector<std::string>& files);
    Words programWords() const;
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
    const Step& _step;
    const PlanLine& _line;
    Attempt& _attempt;
    std::map<std::string, std::string> _units;  // of the values that a program has measured
    std::string _skipped;                       // why a program had nothing to do; empty: it had
    unsigned int _number;                       // the line that a wrong word would be in
    Json _told;                                 // of the line, for the report
    Clock::time_point _start = Clock::now();
    Clock::time_point _begun;  // by the agent's clock
};

}  // namespace tool

#endif
