// SPDX-License-Identifier: Apache-2.0
// Finds runs in a results store.
#ifndef FAPI_BENCH_RECORD_RUN_SEARCH_H
#define FAPI_BENCH_RECORD_RUN_SEARCH_H

#include <functional>

#include "record/results_store.h"

namespace tool {

// Which runs are meant; what is empty allows all.
struct RunFilter {
    std::string unit, station;  // the whole name
    std::string plan, text;     // a part: of the plan's name; of unit, deciding step, reason or parameters
    std::string verdict;        // "unfinished": none yet
    std::string since, until;   // as people write times
};

// What follows "where", with its parameters.
struct RunCondition {
    std::string text;
    std::vector<Parameter> parameters;
};

// Throws UsageError for a time that is none.
RunCondition conditionOf(const RunFilter& filter);

// The store in a folder of reports, or the one that `address` names. What an older bench has kept in the folder is
// taken over first. Null when nothing is there yet. Throws ResultsError.
std::unique_ptr<Database> openResults(const std::string& address, const std::string& folder);

// Oldest first.
void forEachRun(Database& database, const RunFilter& filter, const std::function<void(const RunRecord&)>& use);
// The run of that number, "last", or of an id that begins so. Throws UsageError when there is none, or more than one.
RunRecord findRun(Database& database, const std::string& word);
WholeRun wholeRun(Database& database, const RunRecord& run);

}  // namespace tool

#endif
