// SPDX-License-Identifier: Apache-2.0
// The worker's hold on the set.
#ifndef FAPI_AGENT_WORKER_SET_SESSION_H
#define FAPI_AGENT_WORKER_SET_SESSION_H

#include <cstdint>
#include <map>
#include <string>

#include "protocol/message.h"
#include "supervisor/limits.h"

namespace tool {

struct SetOptions {
    std::string folder;    // of the virtual set; empty: vset::defaultFolder()
    bool damaged = false;  // go on with a damaged set
    Limits limits;         // of a board
    bool isBoard = false;  // the set has the role of a board
};

// Before all others.
void chooseSet(SetOptions options);
// Whether it is one, or the virtual set has the role of one.
bool isBoard();
// Of the virtual set; empty on a board.
std::string setFolder();

// Switches the set on, unless it is. Throws RequestError.
void switchSetOn(bool damaged = false);
// Says whether a vset::SetError that was just caught is the trouble of this PC or the set's.
ErrorCode codeOfSetError();
bool isSetOn();

// Makes a new virtual set where there is none at all; a damaged one stays as it is.
void makeMissingSet();
// The partitions that the client may read and write, with their sizes; also while the set is off.
std::map<std::string, std::uint64_t> setPartitions();

}  // namespace tool

#endif
