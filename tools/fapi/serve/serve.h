// SPDX-License-Identifier: Apache-2.0
// `fapi serve`: a station and its sets in a browser.
#ifndef FAPI_BENCH_SERVE_SERVE_H
#define FAPI_BENCH_SERVE_SERVE_H

#include "serve/set_follower.h"
#include "station/station.h"

namespace tool {

struct ServeOptions {
    std::string listen;      // "ADDRESS:PORT"; empty: kServeAddress
    std::string behind;      // "https://NAME[:PORT]" of a proxy that has TLS; empty: there is none
    bool hasGuests = false;  // there is an address for who only looks
    std::string report;      // folder; empty: "reports"
    Station station;
    std::vector<ServedSet> sets;
};

constexpr char kServeAddress[] = "127.0.0.1:8470";

// Serves until it is interrupted. The first line of output is the address to begin with. Returns an exit code.
int serve(const ServeOptions& options);

}  // namespace tool

#endif
