// SPDX-License-Identifier: Apache-2.0
// What is damaged in a set's folder, and what mends it.
#ifndef FAPI_AGENT_ACTIONS_SET_REPAIR_H
#define FAPI_AGENT_ACTIONS_SET_REPAIR_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tool {

struct SetRepair {
    std::string file;  // below the set's folder
    std::vector<std::string> damage;
    std::string remedy;                // what comes into its place
    std::optional<long long> written;  // in nanoseconds since 1970, when that is an image that was there before
    std::function<void()> mend;
};

// Returns the repairs that the set in `folder` needs, of which none is done yet. A boot environment gets the newest
// whole image that was there before, if one is kept. Throws vset::SetError when it is no set.
std::vector<SetRepair> repairsOf(const std::string& folder);

// Does the repair. What is damaged is in the folder `keep` from before its mending on. Returns the name of the damaged
// file there; an empty one when there was no file. Throws vset::SetError.
std::string mendSet(const std::string& folder, const std::string& keep, const SetRepair& repair);

}  // namespace tool

#endif
