// SPDX-License-Identifier: Apache-2.0
// What `help` describes.
#include "shell/help.h"

#include <algorithm>

#include "target/output.h"

namespace tool {

// Made by the build from plans/README.md.
extern const char* const kPlanLanguage;

namespace {

struct Topic {
    const char* name;
    const char* section;  // of the plan language, with what stands below it; empty: all of it
};

constexpr Topic kTopics[] = {
    {"plan", ""},
    {"expect", "\n## Expectations\n"},
    {"faults", "\n## Files of faults\n"},
};

std::string textOf(const Topic& topic) {
    const std::string all = kPlanLanguage;
    const std::size_t start = all.find(topic.section) + (*topic.section != '\0' ? 1 : 0);
    const std::size_t end = *topic.section != '\0' ? all.find("\n## ", start) : std::string::npos;
    const std::string text = all.substr(start, end - start);
    return text.substr(0, text.find_last_not_of('\n') + 1);
}

std::string usageOf(const Action& action) {
    return std::string("set ") + action.name + argumentsUsage(action.arguments);
}

void printAction(const Action& action, bool json) {
    if (!json) {
        const std::string text = usageOf(action) + "\n  " + action.help + "\n" +
                                 argumentsHelp(action.arguments, action.outputs) +
                                 (action.sessionOnly ? "  Acts on a running session: in the shell, in plans, and from "
                                                       "outside while a program uses the set.\n"
                                                     : "");
        printLine(text.substr(0, text.size() - 1));
        return;
    }
    Json told = {{"action", action.name}, {"usage", usageOf(action)}, {"help", action.help}};
    for (const Argument& argument : action.arguments) {
        told["arguments"].push_back(
            {{"name", argument.name}, {"help", argument.help}, {"expected", helpExpectation(argument)}});
    }
    for (const Output& output : action.outputs) {
        told["outputs"].push_back({{"name", output.name}, {"help", outputHelp(output)}});
    }
    printLine(jsonLine(told));
}

void printActions(bool json) {
    std::vector<std::pair<std::string, std::string>> rows = {
        {"set power-cycle", "Switch the set off and on; everything in memory is lost."}};
    for (const Action& action : actions()) {
        rows.emplace_back(usageOf(action), action.help);
    }
    printUsages(rows, json);
}

void printTopic(const Topic& topic, bool json) {
    printLine(json ? jsonLine({{"topic", topic.name}, {"text", textOf(topic)}}) : textOf(topic));
}

}  // namespace

bool findHelp(const Words& words, bool json) {
    const bool isSet = words.front() == "set";
    const std::string name = isSet && words.size() > 1 ? words[1] : words.front();
    if (words.size() > (isSet ? 2u : 1u)) {
        return false;
    }
    if (isSet && words.size() == 1) {
        printActions(json);
        return true;
    }
    if (!isSet && findOperation(name) != nullptr) {
        printDescription(name, json);
        return true;
    }
    const auto* topic = std::find_if(std::begin(kTopics), std::end(kTopics),
                                     [&](const Topic& row) { return !isSet && name == row.name; });
    if (topic != std::end(kTopics)) {
        printTopic(*topic, json);
        return true;
    }
    const Action* action = findAction(name);
    if (action != nullptr) {
        printAction(*action, json);
    }
    return action != nullptr;
}

void printHelp(const Words& words, bool json) {
    if (findHelp(words, json)) {
        return;
    }
    if (words.front() == "set") {
        static_cast<void>(Command::parse(words));
    }
    throw UsageError(unknownOperation(words.front()));
}

std::vector<std::string> helpTopics() {
    std::vector<std::string> names;
    for (const Topic& topic : kTopics) {
        names.emplace_back(topic.name);
    }
    return names;
}

void printUsages(const std::vector<std::pair<std::string, std::string>>& rows, bool json) {
    constexpr std::size_t kHelpColumn = 23;
    for (const auto& [usage, help] : rows) {
        const std::size_t gap = usage.size() + 2 < kHelpColumn ? kHelpColumn - usage.size() : 2;
        printLine(json ? jsonLine({{"usage", usage}, {"help", help}}) : std::string(usage).append(gap, ' ') + help);
    }
}

}  // namespace tool
