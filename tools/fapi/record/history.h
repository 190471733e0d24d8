// SPDX-License-Identifier: Apache-2.0
// The runs of plans that have ended, in a file of the report folder: a line of JSON each, oldest first.
#ifndef FAPI_BENCH_RECORD_HISTORY_H
#define FAPI_BENCH_RECORD_HISTORY_H

#include <optional>
#include <set>

#include "record/result.h"

namespace tool {

// A number that an expectation has looked at.
struct Measurement {
    std::string name;
    long long value = 0;
};

struct HistoryStep {
    std::string name;
    std::string verdict;
    double seconds = 0;
    std::vector<Measurement> measurements;  // of the last attempt
};

struct HistoryEntry {
    unsigned int id = 0;  // counts from 1
    std::string when;     // it began
    std::string plan, file;
    std::string verdict;  // passed, marginal, failed, error or interrupted
    std::size_t passed = 0, marginal = 0, failed = 0, errors = 0, interrupted = 0, notRun = 0;
    double seconds = 0;
    std::string report;                 // what the names of its report's files begin with
    std::vector<std::string> pictures;  // files beside that
    std::size_t faults = 0;             // how many it was to meet
    std::vector<HistoryStep> steps;
};

// Without a number. Throws nothing.
HistoryEntry historyEntry(const PlanResult& result, const std::string& report);

Json toJson(const HistoryEntry& entry);

class RunHistory {
public:
    // Of the report folder.
    explicit RunHistory(const std::string& folder);

    // Gives the entry a number and adds it; of more than `most` runs the oldest are forgotten, and their reports
    // removed, but never that of the entry. Damaged lines are left as they are until then. Throws std::runtime_error
    // naming the file, which is then as it was.
    void add(HistoryEntry entry, std::size_t most) const;

    // Names damaged lines on standard error. Throws std::runtime_error when there is a file that cannot be read.
    std::vector<HistoryEntry> entries() const;

private:
    std::vector<std::string> lines() const;
    void removeReports(const std::vector<HistoryEntry>& forgotten, const std::set<std::string>& kept) const;

    const std::string _file;
};

// --- `fapi history` --------------------------------------------------------------------------------------------------

struct HistoryOptions {
    std::string report;  // folder; empty: "reports"
    std::vector<std::string> runs;
    // What is listed: all when empty.
    std::string plan;     // a part of the plan's name
    std::string verdict;  // passed, marginal, failed or interrupted
    std::string since;    // the beginning of a time: "2026-02-14" or "2026-02-14T10"
    bool json = false;
};

// All return an exit code, and throw UsageError for a run that is not there.
int listHistory(const HistoryOptions& options);
int showHistory(const HistoryOptions& options);
int compareHistory(const HistoryOptions& options);

}  // namespace tool

#endif
