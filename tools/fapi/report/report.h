// SPDX-License-Identifier: Apache-2.0
// What came of a plan, on the terminal and in files.
#ifndef FAPI_BENCH_REPORT_REPORT_H
#define FAPI_BENCH_REPORT_REPORT_H

#include <memory>

#include "record/record.h"

namespace tool {

struct Attempt {
    Judgement judgement;
    Clock::time_point start;
    double seconds = 0;
    Json commands = Json::array();  // empty without a report
    std::string log;                // of a bad attempt, with a report
};

struct StepResult {
    std::vector<Attempt> attempts;

    // The last attempt's.
    Verdict verdict() const { return attempts.empty() ? Verdict::notRun : attempts.back().judgement.verdict; }
    std::string text() const { return attempts.empty() ? "" : attempts.back().judgement.text; }
    // With the waiting between attempts.
    double seconds() const;
    // What the last attempt has kept: "picture" (name and file, beside the report) or "data" (as PlanData has them).
    Json kept(const char* what) const;
    // What the chip has refused in the last attempt, as addRefusals() tells it.
    Json refusals() const;
};

struct PlanResult {
    const Plan* plan = nullptr;
    std::chrono::system_clock::time_point start;
    double seconds = 0;
    std::string setFolder;
    std::string library;  // its version
    std::string boots;  // of the set, since it was made; empty when nobody told
    std::vector<StepResult> steps;
    bool resumed = false;
    bool cutShort = false;  // Ctrl-C has kept steps from running

    std::size_t count(Verdict verdict) const;
    // Of the plan: passed, marginal, failed, error or interrupted, for who died has failed.
    Verdict verdict() const;
    bool isGood() const;
    // What the PC could not do for the report: no fault of the set, and in no verdict.
    std::vector<std::string> notes() const;
    // The files of the pictures that attempts have left beside the report.
    std::vector<std::string> pictures() const;
};

// How many steps came to what.
struct RunCounts {
    // Who died has failed.
    explicit RunCounts(const PlanResult& result);

    std::size_t passed, marginal, failed, errors, interrupted, notRun;
};

// Follows a run: a line that is rewritten while a step runs on a terminal, a plain line a step elsewhere.
class Progress {
public:
    Progress(const Plan& plan, bool json);
    // The run begins with this step.
    void resume(std::size_t step) const;
    // How often refresh() wants to be called while nothing happens; negative: never.
    int refreshMilliseconds() const { return _terminal ? 200 : -1; }
    void begin(std::size_t step, std::size_t attempt);
    void refresh() const;
    void end(std::size_t step, const StepResult& result);
    // The table of steps.
    void finish(const PlanResult& result) const;
    // The counts, where the reports are, and as the last line the verdict.
    void conclude(const PlanResult& result, const std::vector<std::string>& reports) const;

private:
    std::string place(std::size_t step) const;

    const Plan& _plan;
    const bool _json;
    const bool _terminal;
    std::size_t _step = 0;
    std::size_t _attempt = 0;  // 0: no step is running
    Clock::time_point _start;
};

// A report of a finished run.
class Report {
public:
    virtual ~Report() = default;
    virtual const char* extension() const = 0;
    // What the file is to hold; `folder` is where that and the pictures lie.
    virtual std::string text(const PlanResult& result, const std::string& folder) const = 0;
};

// JUnit XML, JSON and HTML.
std::vector<std::unique_ptr<Report>> reports();

// The files of a report that are there: one of each kind, and those of its pictures that bear its name.
std::vector<std::string> filesOfReport(const std::string& stem, const std::vector<std::string>& pictures);

constexpr const char* kReportFolder = "reports";

// Makes the folder when it is missing. Throws SetError when reports cannot be written there.
void prepareReportFolder(const std::string& folder);

// The files of one run. Their names are taken before it begins, for its pictures have the same.
class ReportFiles {
public:
    // Throws SetError.
    ReportFiles(const Plan& plan, const std::string& folder);
    // Of a run that is resumed, which has its names.
    explicit ReportFiles(const std::string& stem);
    // A run that came to nothing leaves no file.
    ~ReportFiles();
    ReportFiles(const ReportFiles&) = delete;
    ReportFiles& operator=(const ReportFiles&) = delete;

    // "reports/factory-line-20260214-101530", or with "-2" behind it when that is taken.
    const std::string& stem() const { return _stem; }
    // Writes all kinds, each whatever has become of the others, and names the files. Of what could not be written
    // nothing stays, and a line goes to `problems`.
    std::vector<std::string> write(const PlanResult& result, std::vector<std::string>& problems);

private:
    std::string _stem;
    int _lock = -1;  // on the JSON report, for as long as the run may write it
    bool _written = false;
};

}  // namespace tool

#endif
