// SPDX-License-Identifier: Apache-2.0
// What the target's agent says of itself: the bench knows no operation but from here.
#ifndef FAPI_BENCH_TARGET_TARGET_DESCRIPTION_H
#define FAPI_BENCH_TARGET_TARGET_DESCRIPTION_H

#include <string>
#include <string_view>
#include <vector>

#include "hub/agent_description.h"

namespace tool {

// Of the set that was chosen when it is first asked for.
AgentDescription& agentDescription();
// All of it. Who needs a single operation, or names, reads no more than that.
inline const Description& description() {
    return agentDescription().all();
}
// The kind of set that it describes: "virtual", "board". Of a board that is out of reach it is what it last said.
const std::string& targetKind();

// The picture that is meant when none is named.
constexpr const char* kPanel = "panel";

inline const std::vector<Operation>& operations() {
    return description().operations;
}
// The names of the modules that have events.
inline const std::vector<std::string>& moduleNames() {
    return description().eventModules;
}
// Those of the agent, and those that the station carries out.
const std::vector<Action>& actions();
// By full or short name; null when there is none.
inline const Operation* findOperation(std::string_view name) {
    return agentDescription().operation(name);
}
const Action* findAction(std::string_view name);

// The message for a name that is no function of the middleware, with the nearest one that is. An empty text for a
// function, and for "allocation".
std::string unknownFunction(const std::string& name);

// Returns why the function cannot answer the code of that name, or an empty text: the functions on files answer what
// their namesakes of the C library do, where such a number is a descriptor or a count.
std::string namedCodeProblem(const std::string& function, const std::string& word);

// What the agent has to say of arguments that are good each for itself.
struct Checked {
    std::string warning;  // what the contract makes of them, when they look like something else
};
// Throws UsageError when they do not go together. `first` are those of the operation's first call since the set was
// switched on.
Checked checkTogether(const Operation& operation, const std::vector<Value>& values,
                      const std::vector<std::string>& words, const std::vector<Value>& first);
Checked checkTogether(const Action& action, const std::vector<Value>& values, const std::vector<std::string>& words);

}  // namespace tool

#endif
