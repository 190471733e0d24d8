// SPDX-License-Identifier: Apache-2.0
// `--target`, `fapi targets` and `fapi station`.
#ifndef FAPI_BENCH_CLI_STATION_H
#define FAPI_BENCH_CLI_STATION_H

#include <string>
#include <vector>

#include "base/words.h"
#include "target/session.h"

namespace tool {

struct StationOptions {
    std::string file;    // --station
    std::string target;  // --target: a name of the station's file, or the folder of a virtual set
    Words command;       // --target -- COMMAND...
};

// Makes the target the one that the session is to have, and binds the station's actions. Throws UsageError.
void applyStation(const StationOptions& options, SessionOptions& session);

// What --target takes by name: those of the station's file, and the virtual set. Throws UsageError.
std::vector<std::string> targetNames(const std::string& file);
// Each target with its kind, and who uses it.
int listTargets(const StationOptions& options, const SessionOptions& session, bool asJson);
// A line for each target and fixture: that it answers, or what is to be done. Returns an exit code.
int checkStation(const StationOptions& options, bool asJson);

}  // namespace tool

#endif
