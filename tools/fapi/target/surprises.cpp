// SPDX-License-Identifier: Apache-2.0
// Warnings of what looks like something else.
#include "target/surprises.h"

#include "target/target_description.h"

namespace tool {

std::string Surprises::next(const Command& command) {
    if (command.endsProcess()) {
        forget();
    }
    const Operation* operation = command.operation();
    if (operation == nullptr || !operation->isChecked) {
        return {};
    }
    const std::vector<Value>& first = _first.emplace(operation, command.arguments()).first->second;
    const std::string warning = checkTogether(*operation, command.arguments(), {}, first).warning;
    return warning.empty() ? warning : operation->shortName() + ": " + warning;
}

}  // namespace tool
