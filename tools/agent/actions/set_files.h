// SPDX-License-Identifier: Apache-2.0
// Files of the set, for a person: by the set's paths. Of the virtual set only those below /data, /vendor and /mnt may
// be touched, of a board only those in the folders that the agent was started for.
#ifndef FAPI_AGENT_ACTIONS_SET_FILES_H
#define FAPI_AGENT_ACTIONS_SET_FILES_H

#include <fstream>
#include <string>

#include "protocol/value.h"

namespace tool {

// All throw vset::SetError.

// Where the path lies on this machine.
std::string hostFile(const std::string& path);
// The same of the set in the folder, whether or not it is switched on.
std::string hostFile(const std::string& path, const std::string& folder);
// Folders that are missing are made. `end`: the bytes are added to the file's.
void writeSetFile(const std::string& path, const Bytes& bytes, bool end = false);
void removeSetFile(const std::string& path, bool mustExist);
std::ifstream openSetFile(const std::string& path);

}  // namespace tool

#endif
