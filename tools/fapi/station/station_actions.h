// SPDX-License-Identifier: Apache-2.0
// The actions that the station's file binds to fixtures, programs and the operator.
#ifndef FAPI_BENCH_STATION_STATION_ACTIONS_H
#define FAPI_BENCH_STATION_STATION_ACTIONS_H

#include <memory>

#include "station/station.h"
#include "target/bound_actions.h"

namespace tool {

std::unique_ptr<BoundActions> stationActions(Station station);

}  // namespace tool

#endif
