// SPDX-License-Identifier: Apache-2.0
// Operations that others need before them.
#include "worker/preparation.h"

#include <set>

#include "actions/log_switch.h"

namespace tool {

namespace {

std::set<std::string> g_called;

}  // namespace

Preparation prepareFor(const OperationRow& row) {
    const LogSwitch logSwitch;
    Preparation preparation;
    for (const std::string& name : row.needs) {
        const OperationRow* needed = findOperationRow(name);
        if (needed == nullptr || !g_called.insert(needed->name).second) {
            continue;
        }
        const Outcome outcome = needed->invoke({});
        preparation.names.push_back(needed->name);
        preparation.refusals.insert(preparation.refusals.end(), outcome.refusals.begin(), outcome.refusals.end());
        if (!outcome.good) {
            Field failure = {{"operation", needed->name}, {"word", wordOf(needed->result, outcome)}};
            addTo(failure, outcome);
            preparation.failures.push_back(std::move(failure));
        }
    }
    return preparation;
}

void noteCalled(const OperationRow& row) {
    g_called.insert(row.name);
}

std::string wordOf(Result result, const Outcome& outcome) {
    return !outcome.good && isGood(result, outcome.status) ? "failed" : statusWord(result, outcome.status);
}

}  // namespace tool
