// SPDX-License-Identifier: Apache-2.0
// The actions that the station carries out, for the pages of its sets.
#ifndef FAPI_BENCH_SERVE_STATION_WORK_H
#define FAPI_BENCH_SERVE_STATION_WORK_H

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "protocol/description.h"
#include "serve/page_json.h"
#include "station/station.h"

namespace tool {

// Called in several threads.
class StationWork {
public:
    explicit StationWork(Station station) : _station(std::move(station)) {}

    // Fixtures are asked what they do when this is called first, and again as long as one does not say so. Throws
    // SetError.
    std::vector<Action> actions();
    // Who carries it out: "the operator", "fixture rig", "program relay"
    std::string whoDoes(const std::string& action) const;
    // Does what `fapi set ...` does: `set` are the words that name the set. One action of a set at a time.
    WebAnswer carryOut(const std::string& name, const Words& set, const Words& words);

private:
    const Station _station;
    std::mutex _mutex;
    std::optional<std::vector<Action>> _actions;
    std::set<std::string> _busy;  // sets
};

}  // namespace tool

#endif
