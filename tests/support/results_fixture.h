// SPDX-License-Identifier: Apache-2.0
// Files of results, and runs to fill them with.
#ifndef TESTS_SUPPORT_RESULTS_FIXTURE_H
#define TESTS_SUPPORT_RESULTS_FIXTURE_H

#include <string>

#include "record/identity.h"
#include "record/results_store.h"
#include "support/tool_fixture.h"

namespace test {

// A run that has passed, with so many measurements; `index` tells unit, time and values.
inline tool::WholeRun sampleRun(const std::string& strStation, int index, int measurements) {
    using namespace std::chrono_literals;
    tool::WholeRun whole;
    tool::RunRecord& run = whole.run;
    const tool::WallTime began = tool::WallTime(1771060530s) + std::chrono::minutes(index);
    run.id = tool::newRunId(began);
    run.number = index + 1;
    run.station = strStation;
    run.host = "bench";
    run.unit = "LM55-" + std::to_string(index);
    run.plan = "Line";
    run.planFile = "line.plan";
    run.planHash = "1234";
    run.parameters = "{}";
    run.began = tool::utcText(began);
    run.ended = tool::utcText(began + 42s);
    run.seconds = 42;
    run.verdict = "passed";
    run.passed = 1;
    tool::StepRecord step;
    step.run = run.id;
    step.name = "Rails";
    step.verdict = "passed";
    step.seconds = 40;
    whole.parts.steps = {step};
    tool::AttemptRecord attempt;
    attempt.run = run.id;
    attempt.number = attempt.final = 1;
    attempt.verdict = "passed";
    attempt.began = run.began;
    whole.parts.attempts = {attempt};
    for (int i = 0; i < measurements; ++i) {
        tool::MeasurementRecord row;
        row.run = run.id;
        row.number = i;
        row.final = 1;
        row.name = "rail " + std::to_string(i);
        row.unit = "V";
        row.value = 5 + 0.001 * ((index * 7919 + i * 104729) % 101 - 50);
        row.low = 4.75;
        row.high = 5.25;
        row.verdict = "passed";
        row.at = run.began;
        whole.parts.measurements.push_back(row);
    }
    return whole;
}

class ResultsTest : public ToolTest {
protected:
    // The name of a file that is not there.
    std::string freshFile() { return folder() + "/results-" + std::to_string(++_files) + ".sqlite"; }

private:
    int _files = 0;
};

}  // namespace test

#endif
