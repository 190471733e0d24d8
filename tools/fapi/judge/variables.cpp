// SPDX-License-Identifier: Apache-2.0
// ${NAME} in the words of a plan.
#include "judge/variables.h"

#include <algorithm>

namespace tool {

namespace {

// What stands between the texts before and behind the first ${NAME} of a word from `start` on. False without one.
bool findVariable(std::string_view word, std::size_t& start, std::size_t& end) {
    start = word.find("${", start);
    if (start == std::string_view::npos) {
        return false;
    }
    end = word.find('}', start);
    if (end == std::string_view::npos) {
        throw UsageError(display(std::string(word), 40) + ": expected } behind ${");
    }
    return true;
}

// What a value is written as. A text that begins like one of parseBytes' notations is to be taken as it stands.
std::string wordOf(const Value& value, bool beginsWord) {
    if (const auto* number = std::get_if<long long>(&value)) {
        return std::to_string(*number);
    }
    if (const auto* bytes = std::get_if<Bytes>(&value)) {
        return "hex:" + hexText(*bytes, "");
    }
    const auto& text = std::get<std::string>(value);
    const auto begins = [&text](const char* notation) { return text.rfind(notation, 0) == 0; };
    const bool misleads = begins("text:") || begins("hex:") || begins("repeat:") || begins("file:");
    return beginsWord && misleads ? "repeat:1:" + text : text;
}

// A word that the argument accepts.
std::string anyWord(const Argument& argument) {
    switch (argument.kind) {
        case Kind::number:
            return std::to_string(argument.min);
        case Kind::flag:
            return "0";
        case Kind::choice:
            return argument.choices.empty() ? "0" : argument.choices.front().name;
        case Kind::text:
        case Kind::path:
        case Kind::partition:
            return "x";
        case Kind::function:
            return description().functions.empty() ? "x" : description().functions.front().name;
        case Kind::color:
            return "black";
        case Kind::bytes:
            return "repeat:" + std::to_string(std::max(argument.min, 1ll)) + ":x";
    }
    return "x";
}

}  // namespace

std::vector<std::string> variablesOf(std::string_view word) {
    std::vector<std::string> names;
    for (std::size_t start = 0, end = 0; findVariable(word, start, end); start = end) {
        names.emplace_back(word.substr(start + 2, end - start - 2));
    }
    return names;
}

std::string substitute(const std::string& word, const Variables& variables) {
    std::string result;
    std::size_t rest = 0;
    for (std::size_t start = 0, end = 0; findVariable(word, start, end); start = rest = end + 1) {
        const std::string name = word.substr(start + 2, end - start - 2);
        const auto found = variables.find(name);
        if (found == variables.end()) {
            throw UsageError("${" + name + "} has no value: what was to be kept did not come out");
        }
        result += word.substr(rest, start - rest) + wordOf(found->second, start == 0);
    }
    return result + word.substr(rest);
}

Words withAnyValues(Words words, std::size_t first, const std::vector<Argument>& arguments) {
    for (std::size_t i = first; i < words.size() && i - first < arguments.size(); ++i) {
        if (!variablesOf(words[i]).empty()) {
            words[i] = anyWord(arguments[i - first]);
        }
    }
    return words;
}

Command commandWithAnyValues(const Words& words) {
    const bool isAction = words.size() > 1 && words[0] == "set";
    const std::size_t first = isAction ? 2 : 1;
    for (std::size_t i = 0; i < first; ++i) {
        if (!variablesOf(words[i]).empty()) {
            throw UsageError(display(words[i], 40) + ": expected a name, which no variable can stand for");
        }
    }
    const Operation* operation = isAction ? nullptr : findOperation(words[0]);
    const Action* action = isAction ? findAction(words[1]) : nullptr;
    static const std::vector<Argument> kNone;
    const std::vector<Argument>& arguments = operation != nullptr ? operation->arguments
                                             : action != nullptr  ? action->arguments
                                                                  : kNone;
    const Words fitting = withAnyValues(words, first, arguments);
    return Command::parse(fitting, fitting == words ? Together::checked : Together::unchecked);
}

}  // namespace tool
