// SPDX-License-Identifier: Apache-2.0
// `fapi run` and `fapi check`.
#ifndef FAPI_BENCH_RUN_RUNNER_H
#define FAPI_BENCH_RUN_RUNNER_H

#include <optional>
#include <string>
#include <vector>

#include "plan/plan.h"
#include "station/station.h"
#include "target/session.h"

namespace tool {

// Where a run takes place, as the station's file has it.
struct RunPlace {
    std::string station, stage, bindings;  // empty: there is no file
    Station file;                          // what it approves, and keeps
};

struct RunOptions {
    SessionOptions session;
    std::vector<std::string> files;
    std::string report;  // folder; empty: "reports"
    bool fresh = false;  // a new set in a temporary folder
    bool noReport = false;
    bool dryRun = false;
    bool json = false;  // a JSON object for every step on standard output
    bool resume = false;
    bool isShared = false;  // other programs may act on the set, too
    std::string faults;     // file of faults; empty: none
    std::string expected;   // file of failures that a known-bad unit shows; empty: none
    std::string repeat;     // how often, or "forever"; empty: once
    bool untilFailure = false;
    std::optional<std::size_t> keep;      // runs in the history; nothing: as many as the station keeps
    std::vector<std::string> parameters;  // "NAME=VALUE"
    std::string parameterTable;           // file of comma-separated values, a run for each row; empty: none
    std::vector<std::string> waived;      // steps whose failure is let pass
    bool isUnapproved = false;            // what the station does not approve is run, too
    std::string reason;                   // why
    RunPlace place;
    std::chrono::milliseconds programWithin{30000};  // a program of a plan, unless its line says otherwise
    std::vector<StationInstrument> instruments;      // that plans may use
};

// Plans that can run, and the values of their parameters in each run.
struct PreparedRuns {
    std::vector<Plan> plans;
    std::vector<ParameterValues> rows;
    bool asksPerson = false;
};
// Checks all that can be checked before anything is called. Nothing, with the problems told, when plans have some.
// Throws UsageError.
std::optional<PreparedRuns> prepareRuns(const RunOptions& options);

// `fapi run` and `fapi check`. Both return an exit code; problems go to standard error, and for programs as objects to
// standard output, too.
int runPlans(const RunOptions& options);
int checkPlans(const std::vector<std::string>& files, const std::string& faults, bool json);

}  // namespace tool

#endif
