// SPDX-License-Identifier: Apache-2.0
// `fapi station check`: what has to be right before the first unit.
#ifndef FAPI_BENCH_CLI_STATION_CHECK_H
#define FAPI_BENCH_CLI_STATION_CHECK_H

#include <string>

#include "station/station.h"

namespace tool {

// Prints a line for each thing: that it is right, or what is to be done. `reports` is the folder of results. Returns an
// exit code.
int checkStationReady(const Station& station, const std::string& reports, bool asJson);

}  // namespace tool

#endif
