// SPDX-License-Identifier: Apache-2.0
// What counts in place of the file by whose presence the library's log is switched on.
#include "actions/log_switch.h"

#include <atomic>

namespace tool {

namespace {

std::atomic<LogState> g_state{LogState::set};

}  // namespace

LogState logStateOf(std::string_view name) {
    return name == "on" ? LogState::on : name == "off" ? LogState::off : name == "run" ? LogState::run : LogState::set;
}

void setLogSwitch(LogState state) {
    g_state = state;
}

void followSetSwitch() {
    if (g_state != LogState::run) {
        g_state = LogState::set;
    }
}

LogSwitch::LogSwitch() {
    const LogState state = g_state;
    if (state != LogState::set) {
        _file.emplace(kLogSwitch, state != LogState::off);
    }
}

}  // namespace tool
