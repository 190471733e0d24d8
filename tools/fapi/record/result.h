// SPDX-License-Identifier: Apache-2.0
// What came of a run: its attempts, steps and verdict.
#ifndef FAPI_BENCH_RECORD_RESULT_H
#define FAPI_BENCH_RECORD_RESULT_H

#include <chrono>
#include <string>
#include <vector>

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

struct StepResult {
    std::vector<Attempt> attempts;

    // The last attempt's.
    Verdict verdict() const { return attempts.empty() ? Verdict::notRun : attempts.back().judgement.verdict; }
    std::string text() const { return attempts.empty() ? "" : attempts.back().judgement.text; }
    // With the waiting between attempts.
    double seconds() const;
    // What the last attempt has kept: "picture" (name and file, beside the report) or "data" (as PlanData has them).
    Json kept(const char* what) const;
    // What the last attempt has measured by name.
    Json measurements() const;
    // What the chip has refused in the last attempt, as addRefusals() tells it.
    Json refusals() const;
};

// A failure of a step that a person lets pass.
struct Waiver {
    std::string step, reason;
};

struct PlanResult {
    const Plan* plan = nullptr;
    const RunRecord* record = nullptr;  // null without a report
    std::vector<Waiver> waivers;
    std::chrono::system_clock::time_point start;
    double seconds = 0;
    std::string setFolder;
    std::string library;  // its version
    std::string boots;    // of the set, since it was made; empty when nobody told
    std::vector<StepResult> steps;
    bool resumed = false;
    bool cutShort = false;  // Ctrl-C has kept steps from running

    std::size_t count(Verdict verdict) const;
    // Of the plan: passed, marginal, failed, error or interrupted, for who died has failed.
    Verdict verdict() const;
    bool isGood() const;
    // Whether the step has failed, and somebody lets that pass.
    bool isWaived(std::size_t step) const;
    // The waivers that were needed, "STEP: REASON"; empty unless all that is bad is waived.
    std::string waiver() const;
    // What the PC could not do for the report: no fault of the set, and in no verdict.
    std::vector<std::string> notes() const;
    // The files of the pictures that attempts have left beside the report, and those that programs have attached.
    std::vector<std::string> pictures() const;
};

// How many steps came to what.
struct RunCounts {
    // Who died has failed.
    explicit RunCounts(const PlanResult& result);

    std::size_t passed, marginal, failed, errors, interrupted, notRun, skipped;
};

// What the names of a report's files end with, but for pictures.
constexpr const char* kReportExtensions[] = {".xml", ".json", ".html"};
// The files of a report that are there: one of each kind, and those of its pictures that bear its name.
std::vector<std::string> filesOfReport(const std::string& stem, const std::vector<std::string>& pictures);

constexpr const char* kReportFolder = "reports";

}  // namespace tool

#endif
