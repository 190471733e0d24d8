// SPDX-License-Identifier: Apache-2.0
// What `fapi history`, `fapi stats` and `fapi results` have in common: the runs that they are about.
#ifndef FAPI_BENCH_CLI_RESULTS_H
#define FAPI_BENCH_CLI_RESULTS_H

#include <functional>
#include <string>
#include <vector>

#include "record/run_search.h"
#include "target/confirm.h"

namespace CLI {
class App;
}

namespace tool {

struct ResultsOptions {
    std::string results;  // address; empty: the store in the folder
    std::string report;   // folder; empty: "reports"
    RunFilter filter;
    std::vector<std::string> runs;
    std::string format, file;  // of an export
    std::string measurement;   // of the statistics; empty: all
    bool json = false;

    std::string folder() const;
    // Null, and a message, when there is nothing yet.
    std::unique_ptr<Database> open() const;
};

// What belongs to `fapi history`, `fapi stats` and `fapi results`; a command line that names one of them sets `action`,
// which returns an exit code.
void addHistoryCommands(CLI::App& history, const GlobalOptions& options, std::function<int()>& action);
void addStatsOptions(CLI::App& stats, const GlobalOptions& options, std::function<int()>& action);
void addStoreCommands(CLI::App& results, const GlobalOptions& options, std::function<int()>& action);

// Each returns an exit code. Those that name runs throw UsageError for one that is not there.
int listHistory(const ResultsOptions& options);
int showHistory(const ResultsOptions& options);
int compareHistory(const ResultsOptions& options);
int exportHistory(const ResultsOptions& options);
int printStatistics(const ResultsOptions& options);
// What waits for a server, and what it has refused.
int printResultsStatus(const ResultsOptions& options);

// The numbers of the runs in a folder of reports, and "last".
std::vector<std::string> runNames(const std::string& folder);

}  // namespace tool

#endif
