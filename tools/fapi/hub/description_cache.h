// SPDX-License-Identifier: Apache-2.0
// Descriptions of agents that this PC has seen, so that they need not cross a wire again.
#ifndef FAPI_BENCH_HUB_DESCRIPTION_CACHE_H
#define FAPI_BENCH_HUB_DESCRIPTION_CACHE_H

#include <optional>
#include <string>

#include "hub/agent_description.h"

namespace tool {

// Returns the description of that hash, or nothing when it is not kept here or its file is damaged.
std::optional<AgentDescription> keptDescription(const std::string& hash);
// Keeps a description when it has that hash. What cannot be written is not kept.
void keepDescription(const std::string& hash, const Field& described);

// The hash of what the agent's program describes, or an empty text. A program is another one when its path, size or
// time of change is another.
std::string keptHashOf(const std::string& agent);
void keepHashOf(const std::string& agent, const std::string& hash);

// What was last known of a target with a wire: its description's hash, and its kind. Empty texts without any.
struct KeptFacts {
    std::string hash, kind;
};
KeptFacts keptFacts(const std::string& target);
void keepFacts(const std::string& target, const KeptFacts& facts);

}  // namespace tool

#endif
