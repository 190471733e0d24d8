// SPDX-License-Identifier: Apache-2.0
// What a run has come to, as the results store keeps it.
#ifndef FAPI_BENCH_RECORD_RUN_RECORDING_H
#define FAPI_BENCH_RECORD_RUN_RECORDING_H

#include "record/result.h"
#include "record/results_writer.h"

namespace tool {

// One run of a plan, whose steps are stored as they end.
class RunRecording {
public:
    // `report` is what the names of its report's files begin with. Throws ResultsError and UnitIsBusy.
    RunRecording(ResultsWriter& writer, const Plan& plan, const std::string& setFolder, const std::string& report);
    // A run that came to nothing leaves no record.
    ~RunRecording();
    RunRecording(const RunRecording&) = delete;
    RunRecording& operator=(const RunRecording&) = delete;

    void endStep(std::size_t index, const StepResult& step);
    // Throws ResultsError.
    void end(const PlanResult& result);
    const RunRecord& run() const { return _run; }

private:
    void addPictures(const PlanResult& result);

    ResultsWriter& _writer;
    const Plan& _plan;
    RunRecord _run;
    std::vector<std::size_t> _stored;  // of each step: 0, or how many attempts were stored and one more
    bool _isEnded = false;
};

}  // namespace tool

#endif
