// SPDX-License-Identifier: Apache-2.0
// The file by whose presence the library's log is switched on.
#ifndef FAPI_AGENT_ACTIONS_LOG_SWITCH_H
#define FAPI_AGENT_ACTIONS_LOG_SWITCH_H

namespace tool {

constexpr char kLogSwitch[] = "/data/tvfapi_hal_debug";

}  // namespace tool

#endif
