// SPDX-License-Identifier: Apache-2.0
// The library and the virtual set in this process.
#include "target/in_process.h"

#include "actions/action.h"
#include "actions/log_switch.h"
#include "operations/operation.h"

namespace tool {

Outcome invoke(const Operation& operation, const std::vector<Value>& arguments) {
    const LogSwitch logSwitch;
    return findOperationRow(operation.name)->invoke(arguments);
}

Outcome perform(const Action& action, const std::vector<Value>& arguments) {
    return findActionRow(action.name)->perform(arguments);
}

std::string warningOf(const Operation& operation, const std::vector<Value>& values, const std::vector<Value>& first) {
    return findOperationRow(operation.name)->warningOf(values, first);
}

}  // namespace tool
