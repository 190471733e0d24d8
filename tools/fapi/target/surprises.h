// SPDX-License-Identifier: Apache-2.0
// Warnings of what the contract makes of a call that looks like something else.
#ifndef FAPI_BENCH_TARGET_SURPRISES_H
#define FAPI_BENCH_TARGET_SURPRISES_H

#include <map>

#include "target/command.h"

namespace tool {

// Knows what has been called before, of a process or of a plan.
class Surprises {
public:
    // The warning for the next command, which now counts as called; an empty text when it does what it looks like.
    std::string next(const Command& command);
    // The set has been switched off.
    void forget() { _first.clear(); }

private:
    std::map<const Operation*, std::vector<Value>> _first;  // arguments since the set was switched on
};

}  // namespace tool

#endif
