// SPDX-License-Identifier: Apache-2.0
// The arguments of a call or an action.
#include "worker/arguments.h"

#include <algorithm>
#include <optional>

#include "protocol/argument.h"

namespace tool {

namespace {

[[noreturn]] void refuse(const Argument& argument, const std::string& expected) {
    throw UsageError(argument.name + ": expected " + expected);
}

std::string expectedNumber(const Argument& argument) {
    std::string range = "a number from " + std::to_string(argument.min) + " to " + std::to_string(argument.max);
    switch (argument.kind) {
        case Kind::flag:
            return "true or false";
        case Kind::color:
            return "a color";
        case Kind::choice:
            return "one of its choices" + (argument.max != 0 ? ", or " + range : std::string());
        default:
            return range;
    }
}

long long checkedNumber(const Argument& argument, const std::optional<long long>& number) {
    if (!number || !takes(argument, *number)) {
        refuse(argument, expectedNumber(argument));
    }
    return *number;
}

std::string checkedText(const Argument& argument, const std::string& text) {
    if (!takes(argument, text)) {
        refuse(argument, "a text without a zero byte" +
                             (argument.max != 0 ? ", of at most " + std::to_string(argument.max) + " characters"
                                                : std::string()));
    }
    return text;
}

Bytes checkedBytes(const Argument& argument, Bytes bytes) {
    if (!takes(argument, bytes)) {
        refuse(argument, std::to_string(argument.min) + " to " + std::to_string(argument.max) + " bytes");
    }
    return bytes;
}

bool isNumeric(Kind kind) {
    return kind == Kind::number || kind == Kind::flag || kind == Kind::choice || kind == Kind::color;
}

Value valueOf(const Argument& argument, const Field& given) {
    if (isNumeric(argument.kind)) {
        return checkedNumber(argument, given.isText()   ? numberFor(argument, given.text())
                                       : given.isFlag() ? static_cast<long long>(given.flag())
                                                        : given.number());
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
    return isNumeric(argument.kind) ? Value(checkedNumber(argument, numberFor(argument, *argument.byDefault)))
                                    : Value(*argument.byDefault);
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
