// SPDX-License-Identifier: Apache-2.0
// The file by whose presence the library's log is switched on, and what counts in its place.
#ifndef FAPI_AGENT_ACTIONS_LOG_SWITCH_H
#define FAPI_AGENT_ACTIONS_LOG_SWITCH_H

#include <optional>
#include <string_view>

#include "vset/vset.h"

namespace tool {

constexpr char kLogSwitch[] = "/data/tvfapi_hal_debug";

enum class LogState {
    on,
    off,
    set,  // the set's own switch counts
    run   // on, whatever becomes of the set's own switch
};

// Of its name in messages: "on", "off", "run"; anything else is the set's own switch.
LogState logStateOf(std::string_view name);

// For the starts of the library from now on. At the beginning the set's own switch counts.
void setLogSwitch(LogState state);

// Lets the set's own switch count from now on, unless a run wants the log.
void followSetSwitch();

// Makes the library find the switch so in the calls of this thread, while the object lives.
class LogSwitch {
public:
    LogSwitch();

private:
    std::optional<vset::PretendedFile> _file;
};

}  // namespace tool

#endif
