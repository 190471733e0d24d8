// SPDX-License-Identifier: Apache-2.0
// What the target's agent says of itself.
#include "target/target_description.h"

#include <algorithm>
#include <map>

#include "base/words.h"
#include "target/bound_actions.h"
#include "target/session.h"

namespace tool {

namespace {

const Function* findFunction(const std::string& name) {
    const std::vector<Function>& all = description().functions;
    const auto found = std::find_if(all.begin(), all.end(), [&](const Function& row) { return row.name == name; });
    return found != all.end() ? &*found : nullptr;
}

Field listOf(const std::vector<Value>& values) {
    Field::List list;
    for (const Value& value : values) {
        list.push_back(Field::ofSet(value));
    }
    return list;
}

// Asks the agent, once for the same words: a plan has many lines that are alike.
const Field& answerToCheck(const Field& params) {
    static std::map<std::string, Field> answers;
    const std::string question = toJsonText(params);
    const auto known = answers.find(question);
    return known != answers.end() ? known->second : answers.emplace(question, askAgent("check", params)).first->second;
}

Checked check(const char* kind, const std::string& name, const std::vector<Value>& values,
              const std::vector<std::string>& words, const std::vector<Value>& first) {
    Field wordList = Field::List{};
    for (const std::string& word : words) {
        wordList.add(Field::ofSet(word));
    }
    const Field& answer =
        answerToCheck({{kind, name}, {"arguments", listOf(values)}, {"words", wordList}, {"first", listOf(first)}});
    if (answer.has("problem")) {
        const Field& problem = answer["problem"];
        throw UsageError(problem.at("text").text(),
                         problem.has("word") ? std::optional<std::size_t>(problem["word"].number()) : std::nullopt);
    }
    return {answer["warning"].textOr("")};
}

}  // namespace

// The commands of the virtual set may be wanted before it is known which target the command line names.
static TargetFacts& facts() {
    static std::map<std::string, TargetFacts> known;
    const std::string wire = chosenWire();
    const auto found = known.find(wire);
    return found != known.end() ? found->second : known.emplace(wire, describeChosen()).first->second;
}

AgentDescription& agentDescription() {
    return facts().description;
}

const std::string& targetKind() {
    return facts().kind;
}

const std::vector<Action>& actions() {
    static std::map<std::string, std::vector<Action>> all;
    const std::string wire = chosenWire();
    const auto found = all.find(wire);
    if (found != all.end()) {
        return found->second;
    }
    std::vector<Action> own = description().actions;
    if (boundActions() != nullptr) {
        for (const Action& action : boundActions()->actions()) {
            if (description().action(action.name) == nullptr) {
                own.push_back(action);
            }
        }
    }
    return all.emplace(wire, std::move(own)).first->second;
}

const Action* findAction(std::string_view name) {
    const Action* own = description().action(name);
    return own != nullptr ? own : findBoundAction(name);
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

Checked checkTogether(const Operation& operation, const std::vector<Value>& values,
                      const std::vector<std::string>& words, const std::vector<Value>& first) {
    return check("operation", operation.name, values, words, first);
}

Checked checkTogether(const Action& action, const std::vector<Value>& values, const std::vector<std::string>& words) {
    return check("action", action.name, values, words, values);
}

}  // namespace tool
