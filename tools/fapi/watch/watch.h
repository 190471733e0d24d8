// SPDX-License-Identifier: Apache-2.0
// `fapi watch`: events as they come.
#ifndef FAPI_BENCH_WATCH_WATCH_H
#define FAPI_BENCH_WATCH_WATCH_H

#include "target/confirm.h"

namespace tool {

struct WatchOptions {
    std::vector<unsigned int> events;  // empty: all
    std::vector<std::string> modules;  // empty: all
    unsigned int count = 0;            // ends after so many; 0: no limit
    double idle = 0;                   // ends after so many seconds without one; 0: never
    std::vector<std::string> lines;    // run first
};

int watch(const GlobalOptions& options, const WatchOptions& watchOptions);

}  // namespace tool

#endif
