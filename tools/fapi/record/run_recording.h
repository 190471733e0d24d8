// SPDX-License-Identifier: Apache-2.0
// What a run has come to, as the results store keeps it.
#ifndef FAPI_BENCH_RECORD_RUN_RECORDING_H
#define FAPI_BENCH_RECORD_RUN_RECORDING_H

#include "record/result.h"
#include "record/results_writer.h"

namespace tool {

// What the record of a run begins with.
struct RunFacts {
    std::string set, report;  // `report` is what the names of its report's files begin with
    ParameterValues parameters;
    std::string unit;                      // empty: it is about none
    std::string limits;                    // the hash of the limits
    std::string station, stage, bindings;  // the bindings are those of the station's file; an empty name is the host's
    std::string target, library, agent;    // the set's kind, versions
    std::string waiver;                    // who lets an unapproved plan run says why; empty: it is approved
    std::string person;                    // the operator; empty: who is logged in
};

// All that decides what the run comes to, but for the set, by name.
Json whatDecides(const Plan& plan, const RunFacts& facts);

// One run of a plan, whose steps are stored as they end.
class RunRecording {
public:
    // Throws ResultsError and UnitIsBusy.
    RunRecording(ResultsWriter& writer, const Plan& plan, const RunFacts& facts);
    // A run that came to nothing leaves no record.
    ~RunRecording();
    RunRecording(const RunRecording&) = delete;
    RunRecording& operator=(const RunRecording&) = delete;

    void endStep(std::size_t index, const StepResult& step);
    // What the run has come to, for its reports.
    void conclude(const PlanResult& result);
    // Stores that, with the files of its report. Throws ResultsError.
    void end(const PlanResult& result, const std::vector<std::string>& files);
    const RunRecord& run() const { return _run; }

private:
    void addAttachments(const PlanResult& result, const std::vector<std::string>& files);
    void addWaivers(const PlanResult& result);

    ResultsWriter& _writer;
    const Plan& _plan;
    RunRecord _run;
    const std::string _folder;         // of the report
    const std::string _approval;       // why a plan without approval was run
    std::vector<std::size_t> _stored;  // of each step: 0, or how many attempts were stored and one more
    bool _isEnded = false;
};

}  // namespace tool

#endif
