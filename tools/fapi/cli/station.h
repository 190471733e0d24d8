// SPDX-License-Identifier: Apache-2.0
// `--target`, `fapi targets` and `fapi station`.
#ifndef FAPI_BENCH_CLI_STATION_H
#define FAPI_BENCH_CLI_STATION_H

#include <string>
#include <vector>

#include "base/words.h"
#include "slots/slot.h"
#include "station/station.h"
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
// How the hub of that target is joined.
TargetOptions targetOptionsOf(const StationTarget& target);
// The slots of those targets, which applyStation() knows by name.
std::vector<SlotTarget> slotsOf(const std::vector<std::string>& targets, const StationOptions& options);
// A line for all that must be right before the first unit, and what is to be done. Returns an exit code.
int checkStation(const StationOptions& options, const std::string& reports, bool asJson);

}  // namespace tool

#endif
