// SPDX-License-Identifier: Apache-2.0
// The arguments of a call or an action.
#include "worker/arguments.h"

#include <algorithm>

#include "protocol/color.h"

namespace tool {

namespace {

[[noreturn]] void refuse(const Argument& argument, const std::string& expected) {
    throw UsageError(argument.name + ": expected " + expected);
}

bool isIn(long long number, const Argument& argument) {
    return number >= argument.min && number <= argument.max;
}

long long flagOf(const Argument& argument, const std::string& word) {
    static constexpr std::pair<const char*, long long> kWords[] = {{"1", 1}, {"on", 1},  {"true", 1},  {"yes", 1},
                                                                   {"0", 0}, {"off", 0}, {"false", 0}, {"no", 0}};
    const auto found =
        std::find_if(std::begin(kWords), std::end(kWords), [&](const auto& row) { return word == row.first; });
    if (found == std::end(kWords)) {
        refuse(argument, "true or false");
    }
    return found->second;
}

// A word for what is a number in the call.
long long numberOf(const Argument& argument, const std::string& word) {
    if (argument.kind == Kind::flag) {
        return flagOf(argument, word);
    }
    for (const Choice& choice : argument.choices) {
        if (word == choice.name) {
            return choice.value;
        }
    }
    if (argument.kind == Kind::color) {
        const auto color = parseColor(word);
        if (!color) {
            refuse(argument, "a color");
        }
        return static_cast<long long>(*color);
    }
    long long number = 0;
    if (!parseNumber(word, number)) {
        refuse(argument, "a number");
    }
    return number;
}

long long checkedNumber(const Argument& argument, long long number) {
    const std::string range = "a number from " + std::to_string(argument.min) + " to " + std::to_string(argument.max);
    if (argument.kind == Kind::number && !isIn(number, argument)) {
        refuse(argument, range);
    }
    if (argument.kind == Kind::flag && number != 0 && number != 1) {
        refuse(argument, "true or false");
    }
    const bool isNamed = std::any_of(argument.choices.begin(), argument.choices.end(),
                                     [number](const Choice& choice) { return choice.value == number; });
    if (argument.kind == Kind::choice && !isNamed && !(argument.max != 0 && isIn(number, argument))) {
        refuse(argument, "one of its choices" + (argument.max != 0 ? ", or " + range : std::string()));
    }
    return number;
}

std::string checkedText(const Argument& argument, const std::string& text) {
    if (text.find('\0') != std::string::npos) {
        refuse(argument, "a text without a zero byte");
    }
    if (argument.max != 0 && text.size() > static_cast<std::size_t>(argument.max)) {
        refuse(argument, "at most " + std::to_string(argument.max) + " characters");
    }
    return text;
}

Bytes checkedBytes(const Argument& argument, Bytes bytes) {
    const auto size = static_cast<long long>(bytes.size());
    if (size < argument.min || (argument.max != 0 && size > argument.max)) {
        refuse(argument, std::to_string(argument.min) + " to " + std::to_string(argument.max) + " bytes");
    }
    return bytes;
}

bool isNumeric(Kind kind) {
    return kind == Kind::number || kind == Kind::flag || kind == Kind::choice || kind == Kind::color;
}

Value valueOf(const Argument& argument, const Field& given) {
    if (isNumeric(argument.kind)) {
        const long long number = given.isText()   ? numberOf(argument, given.text())
                                 : given.isFlag() ? static_cast<long long>(given.flag())
                                                  : given.number();
        return checkedNumber(argument, number);
    }
    if (argument.kind == Kind::bytes) {
        return checkedBytes(argument, given.isText() ? Bytes(given.text().begin(), given.text().end()) : given.bytes());
    }
    return checkedText(argument,
                       given.isBytes() ? std::string(given.bytes().begin(), given.bytes().end()) : given.text());
}

// A default is a word as a person types it.
Value defaultOf(const Argument& argument) {
    if (argument.kind == Kind::bytes) {
        return parseBytes(*argument.byDefault);
    }
    return isNumeric(argument.kind) ? Value(numberOf(argument, *argument.byDefault)) : Value(*argument.byDefault);
}

// The field for each argument; null for one that is left out.
std::vector<const Field*> inOrder(const std::vector<Argument>& arguments, const Field& given) {
    std::vector<const Field*> fields(arguments.size(), nullptr);
    if (given.isObject()) {
        for (const auto& [name, field] : given.fields()) {
            const auto found = std::find_if(arguments.begin(), arguments.end(),
                                            [&key = name](const Argument& argument) { return argument.name == key; });
            if (found == arguments.end()) {
                throw UsageError("no such argument: " + name);
            }
            fields[static_cast<std::size_t>(found - arguments.begin())] = &field;
        }
    } else if (!given.isNull()) {
        const Field::List& list = given.list();
        if (list.size() > arguments.size()) {
            throw UsageError(std::to_string(list.size()) + " arguments are too many", arguments.size());
        }
        for (std::size_t i = 0; i < list.size(); ++i) {
            fields[i] = &list[i];
        }
    }
    return fields;
}

}  // namespace

std::vector<Value> argumentsOf(const std::vector<Argument>& arguments, const Field& given) {
    const std::vector<const Field*> fields = inOrder(arguments, given);
    std::vector<Value> values;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        try {
            if (fields[i] == nullptr && !arguments[i].byDefault) {
                throw UsageError(arguments[i].name + " is missing");
            }
            values.push_back(fields[i] != nullptr ? valueOf(arguments[i], *fields[i]) : defaultOf(arguments[i]));
        } catch (const UsageError& error) {
            throw UsageError(error.what(), i);
        } catch (const MessageError& error) {
            throw UsageError(arguments[i].name + ": " + error.what(), i);
        }
    }
    return values;
}

}  // namespace tool
