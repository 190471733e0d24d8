// SPDX-License-Identifier: Apache-2.0
// `fapi run --slots` and `--targets`: units side by side.
#ifndef FAPI_BENCH_SLOTS_SLOTS_H
#define FAPI_BENCH_SLOTS_SLOTS_H

#include <string>
#include <vector>

#include "run/runner.h"
#include "slots/slot.h"

namespace tool {

struct SlotOptions {
    std::size_t count = 0;             // of virtual sets
    std::vector<std::string> targets;  // or the sets by name
    Words words;                       // the command line, after the program's name
    std::vector<SlotTarget> slots;     // what these come to
};

// The slots of so many virtual sets beside the chosen one, or new ones for each run.
std::vector<SlotTarget> virtualSlots(std::size_t count, const SessionOptions& session, bool isFresh);

// Runs the plans in all slots, a row of the table of parameters in each one that is free, or once in each. Returns an
// exit code: the worst of its runs.
int runInSlots(const SlotOptions& slots, const RunOptions& options);

}  // namespace tool

#endif
