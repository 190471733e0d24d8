// SPDX-License-Identifier: Apache-2.0
// Actions that this station carries out.
#include "target/bound_actions.h"

#include <algorithm>

namespace tool {

namespace {

std::unique_ptr<BoundActions> g_bound;

}  // namespace

void bindActions(std::unique_ptr<BoundActions> bound) {
    g_bound = std::move(bound);
}

BoundActions* boundActions() {
    return g_bound.get();
}

const Action* findBoundAction(std::string_view name) {
    if (g_bound == nullptr) {
        return nullptr;
    }
    const std::vector<Action>& all = g_bound->actions();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Action& action) { return action.name == name; });
    return found != all.end() ? &*found : nullptr;
}

}  // namespace tool
