// SPDX-License-Identifier: Apache-2.0
// Checked lines.
#include "target/command.h"

#include "target/bound_actions.h"

namespace tool {

namespace {

constexpr std::string_view kPowerCycle = "power-cycle";

template <class Row, class NameOf>
std::string didYouMean(std::string_view word, const std::vector<Row>& rows, NameOf&& nameOf) {
    std::vector<std::string> names;
    names.reserve(rows.size());
    for (const Row& row : rows) {
        names.push_back(nameOf(row));
    }
    const std::string near = nearest(word, names);
    return near.empty() ? "" : ", did you mean " + near + "?";
}

}  // namespace

std::string unknownOperation(std::string_view word) {
    return "no such operation: " + std::string(word) +
           didYouMean(word, operations(), [](const Operation& operation) { return operation.shortName(); });
}

Command Command::parse(const Words& words, Together together) {
    Command command;
    command._words = words;
    if (words.empty()) {
        throw UsageError("an operation or \"set\" is missing");
    }
    if (words[0] != "set") {
        command._operation = findOperation(words[0]);
        if (command._operation == nullptr) {
            throw UsageError(unknownOperation(words[0]), 0);
        }
        command._arguments = parseArguments(*command._operation, {words.begin() + 1, words.end()}, together);
        return command;
    }
    if (words.size() < 2) {
        throw UsageError("set: what is to be done is missing", 1);
    }
    command._powerCycle = words[1] == kPowerCycle;
    if (command._powerCycle) {
        if (words.size() > 2) {
            throw UsageError("set power-cycle: " + display(words[2], 40) + " is one argument too many", 2);
        }
        return command;
    }
    command._action = findAction(words[1]);
    if (command._action == nullptr && boundActions() != nullptr) {
        throw UsageError(boundActions()->missing(words[1]), 1);
    }
    if (command._action == nullptr) {
        throw UsageError("no such command: set " + words[1] +
                             didYouMean(words[1], actions(), [](const Action& action) { return action.name; }),
                         1);
    }
    try {
        const Words rest(words.begin() + 2, words.end());
        command._arguments = parseWords(command._action->arguments, rest);
        if (command._action == findBoundAction(words[1])) {
            boundActions()->check(*command._action, rest);
        }
        if (command._action->isChecked && together == Together::checked) {
            checkTogether(*command._action, command._arguments, rest);
        }
    } catch (const UsageError& error) {
        throw error.behind(2, "set " + words[1] + ": " + error.what() + "; usage: set " + words[1] +
                                  argumentsUsage(command._action->arguments));
    }
    return command;
}

std::vector<std::string> Command::outputNames() const {
    std::vector<std::string> names;
    if (_operation != nullptr) {
        for (const Output& output : _operation->outputs) {
            names.emplace_back(output.name);
        }
    } else if (_action != nullptr) {
        for (const Output& output : _action->outputs) {
            names.emplace_back(output.name);
        }
    }
    return names;
}

std::string Command::text() const {
    std::string line;
    for (std::size_t i = 0; i < _words.size(); ++i) {
        const bool isName = i == 0 && _operation != nullptr;
        line += (i == 0 ? "" : " ") + (isName ? _operation->shortName() : quoteWord(_words[i]));
    }
    return line;
}

CallAnswer Command::run(const CallOptions& options) const {
    if (_operation != nullptr) {
        return callOperation(*_operation, _arguments, options);
    }
    if (_action != nullptr && _action == findBoundAction(_action->name)) {
        return boundActions()->carryOut(*_action, _arguments, {_words.begin() + 2, _words.end()});
    }
    return _action != nullptr ? carryOut(*_action, _arguments, options) : CallAnswer();
}

std::string Command::word(const Outcome& outcome) const {
    // What is not good although the status is the one that it always is.
    if (!outcome.good && _operation != nullptr && isGood(_operation->result, outcome.status)) {
        return "failed";
    }
    return statusWord(_operation != nullptr ? _operation->result : Result::status, outcome.status);
}

}  // namespace tool
