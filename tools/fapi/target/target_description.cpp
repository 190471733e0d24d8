// SPDX-License-Identifier: Apache-2.0
// What the target's agent says of itself.
#include "target/target_description.h"

#include <algorithm>

#include "actions/action.h"
#include "base/words.h"
#include "worker/description.h"

namespace tool {

namespace {

const Function* findFunction(const std::string& name) {
    const std::vector<Function>& all = description().functions;
    const auto found = std::find_if(all.begin(), all.end(), [&](const Function& row) { return row.name == name; });
    return found != all.end() ? &*found : nullptr;
}

}  // namespace

const Description& description() {
    return ownDescription();
}

std::string unknownFunction(const std::string& name) {
    if (findFunction(name) != nullptr) {
        return {};
    }
    std::vector<std::string> known;
    for (const Function& function : description().functions) {
        known.push_back(function.name);
    }
    const std::string near = nearest(name, known);
    return "no such middleware function: " + display(name, 60) +
           (near.empty() ? ", nor is it allocation" : ", did you mean " + near + "?");
}

std::string namedCodeProblem(const std::string& function, const std::string& word) {
    const std::vector<Choice>& codes = description().codes;
    const bool isName = std::any_of(codes.begin(), codes.end(), [&](const Choice& code) { return word == code.name; });
    const Function* row = findFunction(function);
    return isName && row != nullptr && !row->failures.empty()
               ? function + " answers no code when it fails, but " + row->failures
               : std::string();
}

void checkTogether(const Operation& operation, const std::vector<Value>& values,
                   const std::vector<std::string>& words) {
    findOperationRow(operation.name)->check(values, words);
}

void checkTogether(const Action& action, const std::vector<Value>& values, const std::vector<std::string>& words) {
    findActionRow(action.name)->check(values, words);
}

}  // namespace tool
