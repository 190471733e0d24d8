// SPDX-License-Identifier: Apache-2.0
// Instruments that several slots of a station share.
#ifndef FAPI_BENCH_STATION_INSTRUMENTS_H
#define FAPI_BENCH_STATION_INSTRUMENTS_H

#include <functional>
#include <string>
#include <vector>

#include "hub/descriptor.h"
#include "station/station.h"

namespace tool {

// The instruments that this process has. All that are needed are taken at once and in the order of their names, so that
// no two processes wait for each other; a process that ends, however, has none any more.
class InstrumentLocks {
public:
    // `known` are those of the station, `user` is what others read while they wait: "slot A".
    InstrumentLocks(const std::vector<StationInstrument>& known, std::string user)
        : _known(known), _user(std::move(user)) {}

    // Waits for each at most as long as the station's file says, calling `pause` meanwhile. Throws UsageError for an
    // instrument that the station does not have, or when some are taken already, RequestError `stationFailed` for one
    // that stays in use, and what `pause` throws.
    void take(std::vector<std::string> names, const std::function<void()>& pause);
    void release() { _held.clear(); }

private:
    const std::vector<StationInstrument> _known;
    const std::string _user;
    std::vector<Descriptor> _held;
};

// Who has the instrument; empty: it is free. Throws RequestError when that cannot be said.
std::string userOf(const StationInstrument& instrument);

}  // namespace tool

#endif
