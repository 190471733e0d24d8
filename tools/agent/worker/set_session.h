// SPDX-License-Identifier: Apache-2.0
// The worker's hold on the virtual set.
#ifndef FAPI_AGENT_WORKER_SET_SESSION_H
#define FAPI_AGENT_WORKER_SET_SESSION_H

#include <optional>
#include <string>

#include "vset/vset.h"

namespace tool {

struct SetOptions {
    std::string folder;    // empty: vset::defaultFolder()
    bool damaged = false;  // go on with a damaged set
};

// Before all others.
void chooseSet(SetOptions options);
std::string setFolder();

// Switches the set on, unless it is. Throws RequestError.
void switchSetOn(bool damaged = false);
bool isSetOn();

// Sets whether the library's log is on from its next start on, for the calls of any thread: "on", "off", or "set", the set's own switch.
void setLogSwitch(const std::string& state);

// Makes the calls of this thread find the switch as it was set, while the object lives.
class LogSwitch {
public:
    LogSwitch();

private:
    std::optional<vset::PretendedFile> _file;
};

}  // namespace tool

#endif
