// SPDX-License-Identifier: Apache-2.0
// What came of a run: its attempts, steps and verdict.
#ifndef FAPI_BENCH_RECORD_RESULT_H
#define FAPI_BENCH_RECORD_RESULT_H

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "plan/expected.h"
#include "record/record.h"
#include "record/run_record.h"

namespace tool {

struct Attempt {
    Judgement judgement;
    Clock::time_point start;
    double seconds = 0;
    std::vector<std::string> skipped;  // why each line had nothing to do that found out only when it ran
    Json commands = Json::array();     // empty without a report
    std::string log;                   // of a bad attempt, with a report
};

// Reports list so many steps of a run whatever becomes of them. Of those after them they list what did not pass.
constexpr std::size_t kListedSteps = 10000;

// A file that a line of a plan has left beside the report.
struct KeptFile {
    const char* kind;  // kPicture or kAttached
    std::string name;  // as the plan or its program calls it
    std::string file;
};

// Adds the files that the record of a line names.
void addKeptFiles(const Json& command, std::vector<KeptFile>& files);

struct StepResult {
    std::vector<Attempt> attempts;
    std::shared_ptr<const std::string> why;  // it was not run
    bool isFolded = false;                   // it has passed, and of its attempts only the time is left
    float foldedSeconds = 0;

    // The last attempt's.
    Verdict verdict() const {
        return !attempts.empty() ? attempts.back().judgement.verdict : isFolded ? Verdict::passed : Verdict::notRun;
    }
    std::string text() const { return !attempts.empty() ? attempts.back().judgement.text : why ? *why : ""; }
    // Forgets what has come of a step that has passed at once, as the store has it: a loop may have a million of them.
    // One with files stays, for those are counted at the end.
    void fold();
    // With the waiting between attempts.
    double seconds() const;
    // What the last attempt has kept: "picture" (name and file, beside the report) or "data" (as PlanData has them).
    Json kept(const char* what) const;
    // What the last attempt has measured by name.
    Json measurements() const;
    // Of all attempts.
    std::vector<KeptFile> files() const;
    // What the chip has refused in the last attempt, as addRefusals() tells it.
    Json refusals() const;
};

// Where the seconds of a run have gone; the rest is the bench's own work.
struct RunTimes {
    double calls = 0;  // inside calls of the set, which do not overlap
    double waits = 0;  // for events, time, programs and persons, while no call was made
};

// A failure of a step that a person lets pass.
struct Waiver {
    std::string step, reason;
};

struct PlanResult {
    const Plan* plan = nullptr;
    const RunRecord* record = nullptr;  // null without a report
    std::vector<Waiver> waivers;
    std::vector<ExpectedFailure> expected;  // of a unit that is known to be bad; empty: none has to fail
    std::chrono::system_clock::time_point start;
    double seconds = 0;
    std::string setFolder;
    std::string library;  // its version
    RunTimes times;
    std::string boots;  // of the set, since it was made; empty when nobody told
    std::vector<StepResult> steps;
    bool resumed = false;
    bool cutShort = false;  // Ctrl-C has kept steps from running

    std::size_t count(Verdict verdict) const;
    // Whether reports list the step; the store has all.
    bool isListed(std::size_t step) const;
    std::size_t unlisted() const;
    // Of the plan: passed, marginal, failed, error or interrupted, for who died has failed.
    Verdict verdict() const;
    bool isGood() const;
    // Why somebody lets the failure of the step pass; null when it has not failed, or nobody does.
    const std::string* waiverOf(std::size_t step) const;
    bool isWaived(std::size_t step) const { return waiverOf(step) != nullptr; }
    // The failure that the step has to come to; null for a step that has to be good.
    const ExpectedFailure* expectedAt(std::size_t step) const;
    // What is not as expected, a line each: a step that fails and is not to, or the reverse.
    std::vector<std::string> unexpected() const;
    // The waivers that were needed, "STEP: REASON"; empty unless all that is bad is waived.
    std::string waiver() const;
    // What the PC could not do for the report: no fault of the set, and in no verdict.
    std::vector<std::string> notes() const;
    // The names of the files that steps have left beside the report.
    std::vector<std::string> files() const;
};

// How many steps came to what.
struct RunCounts {
    // Who died has failed.
    explicit RunCounts(const PlanResult& result);

    std::size_t passed, marginal, failed, errors, interrupted, notRun, skipped;
};

// What the names of a report's files end with, but for those of its steps.
constexpr const char* kReportExtensions[] = {".xml", ".json", ".html"};
// The files of a report that are there: one of each kind, and those of its steps that bear its name.
std::vector<std::string> filesOfReport(const std::string& stem, const std::vector<std::string>& ofSteps);

constexpr const char* kReportFolder = "reports";

}  // namespace tool

#endif
