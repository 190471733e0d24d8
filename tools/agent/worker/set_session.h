// SPDX-License-Identifier: Apache-2.0
// The worker's hold on the virtual set.
#ifndef FAPI_AGENT_WORKER_SET_SESSION_H
#define FAPI_AGENT_WORKER_SET_SESSION_H

#include <string>

#include "protocol/message.h"

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
// Says whether a vset::SetError that was just caught is the trouble of this PC or the set's.
ErrorCode codeOfSetError();
bool isSetOn();

}  // namespace tool

#endif
