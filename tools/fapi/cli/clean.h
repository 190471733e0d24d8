// SPDX-License-Identifier: Apache-2.0
// `fapi clean`: removes what runs have left behind and nobody needs.
#ifndef FAPI_BENCH_CLI_CLEAN_H
#define FAPI_BENCH_CLI_CLEAN_H

#include "record/retention.h"
#include "station/station.h"
#include "target/confirm.h"

namespace tool {

struct CleanOptions {
    std::string report;  // folder; empty: "reports"
    bool dryRun = false;
    Retention retention;
    std::optional<long long> sets;  // the newest; as many as runs leave when nothing is said
    KeptRuns kept;                  // by the station, where `retention` says nothing
    bool all = false;               // also what somebody might still look at or go on with
};

// Returns an exit code: kExitFailed when something could not be removed.
int clean(const GlobalOptions& options, const CleanOptions& cleanOptions);

}  // namespace tool

#endif
