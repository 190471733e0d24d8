// SPDX-License-Identifier: Apache-2.0
// How a set is reached that is not this PC's virtual one.
#ifndef FAPI_BENCH_HUB_WIRE_OPTIONS_H
#define FAPI_BENCH_HUB_WIRE_OPTIONS_H

#include <chrono>
#include <string>
#include <vector>

#include "protocol/field.h"

namespace tool {

struct WireOptions {
    std::string name;                          // of the target
    std::vector<std::string> command;          // its standard streams are the wire
    bool isChecked = true;                     // the wire may lose and damage bytes
    std::vector<std::string> start = {};       // at a console, in turn: a text to wait for, and one to type then
    std::vector<std::string> powerCycle = {};  // the program that switches the set off and on; empty: the agent does
    std::string powerPlace = {};               // where that is written
    // How long the agent may take to answer, from the wire's start or its loss on; 0: a lost wire is not started again.
    std::chrono::milliseconds upWithin{0};
};

// For the command line of a hub.
Field toField(const WireOptions& options);
// Throws MessageError.
WireOptions parseWireOptions(const Field& field);

}  // namespace tool

#endif
