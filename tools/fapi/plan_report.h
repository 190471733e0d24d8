// SPDX-License-Identifier: Apache-2.0
// What came of a plan, on the terminal and in files.
#ifndef FAPI_TOOL_PLAN_REPORT_H
#define FAPI_TOOL_PLAN_REPORT_H

#include "plan_record.h"

namespace tool {

struct StepResult {
    Verdict verdict = Verdict::notRun;
    std::string text;
    unsigned int attempts = 0;
    double seconds = 0;
    Json commands = Json::array();  // of all attempts; empty without a report
};

struct PlanResult {
    const Plan* plan = nullptr;
    std::chrono::system_clock::time_point start;
    double seconds = 0;
    std::string setFolder;
    std::vector<StepResult> steps;

    std::size_t count(Verdict verdict) const;
    bool isGood() const;
};

// Follows a run: a line that is rewritten while a step runs on a terminal, a plain line a step elsewhere.
class Progress {
public:
    Progress(const Plan& plan, bool json);
    void begin(std::size_t step, unsigned int attempt);
    void end(std::size_t step, const StepResult& result);
    // The table of steps and the counts.
    void finish(const PlanResult& result);

private:
    void eraseLine() const;

    const Plan& _plan;
    const bool _json;
    const bool _terminal;
};

// A report of a finished run. There will be more kinds than these.
class Report {
public:
    virtual ~Report() = default;
    // Throws std::runtime_error naming the file. Returns the file's path.
    virtual std::string write(const PlanResult& result, const std::string& stem) const = 0;
};

// JUnit XML and JSON.
std::vector<std::unique_ptr<Report>> reports();

}  // namespace tool

#endif
