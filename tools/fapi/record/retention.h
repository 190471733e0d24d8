// SPDX-License-Identifier: Apache-2.0
// Which runs a station forgets, and how.
#ifndef FAPI_BENCH_RECORD_RETENTION_H
#define FAPI_BENCH_RECORD_RETENTION_H

#include "record/results_store.h"

namespace tool {

// What stays; nothing means no limit.
struct Retention {
    std::optional<long long> runs;   // the newest
    std::optional<long long> days;   // since a run began
    std::optional<long long> bytes;  // of the reports and other files of runs
};

struct RunFiles {
    RunRecord run;
    std::vector<std::string> files;  // that no other run needs
    std::uintmax_t bytes = 0;
    bool waits = false;  // for a server, so that it stays
};

// The runs that a limit says to forget, oldest first, never the newest one nor one that goes on. A run that waits for a
// server is among them and stays.
std::vector<RunFiles> runsBeyond(Database& database, const std::string& folder, const Retention& limits);

// Removes their rows, then their files; those that wait stay.
void forgetRuns(Database& database, const std::vector<RunFiles>& runs);

}  // namespace tool

#endif
