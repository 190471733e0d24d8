// SPDX-License-Identifier: Apache-2.0
// Looking for calls in the journal.
#include "judge/call_pattern.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/words.h"
#include "target/target_description.h"

namespace tool {

namespace {

constexpr const char* kResult = "result";

using NamedText = std::pair<std::string, std::string>;

bool isBlank(char letter) {
    return letter == ' ' || letter == '\t';
}

// Cuts the next word off: everything up to a blank that is neither quoted nor in brackets.
std::string_view takeWord(std::string_view& rest) {
    while (!rest.empty() && isBlank(rest.front())) {
        rest.remove_prefix(1);
    }
    std::size_t length = 0;
    bool isQuoted = false;
    bool isInBrackets = false;
    for (; length < rest.size() && (isQuoted || isInBrackets || !isBlank(rest[length])); ++length) {
        const char letter = rest[length];
        if (isQuoted && letter == '\\' && length + 1 < rest.size()) {
            ++length;
        } else if (letter == '"' && !isInBrackets) {
            isQuoted = !isQuoted;
        } else if (!isQuoted) {
            isInBrackets = letter == '[' || (isInBrackets && letter != ']');
        }
    }
    const std::string_view word = rest.substr(0, length);
    rest.remove_prefix(length);
    return word;
}

std::string firstWord(std::string_view text) {
    return std::string(takeWord(text));
}

// Returns a quoted text without its quotes, everything else as it is. Sets `isCut` when the journal has cut it.
std::string plainText(std::string_view value, bool* isCut = nullptr) {
    if (value.empty() || value.front() != '"') {
        return std::string(value);
    }
    std::string plain;
    std::size_t i = 1;
    for (; i < value.size() && value[i] != '"'; ++i) {
        i += value[i] == '\\' && i + 1 < value.size() ? 1 : 0;
        plain += value[i];
    }
    if (isCut != nullptr) {
        *isCut = i < value.size() && value.substr(i + 1) == "...";
    }
    return plain;
}

std::optional<long long> numberOf(const std::string& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    char* end = nullptr;
    // Accepts 64-bit addresses and negative numbers; base 0 would read "010" as 8.
    const bool isHexadecimal = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const auto number = static_cast<long long>(std::strtoull(text.c_str(), &end, isHexadecimal ? 16 : 10));
    return *end == '\0' ? std::optional(number) : std::nullopt;
}

bool isSameValue(const std::string& expected, std::string_view actual) {
    bool wasCut = false;
    const std::string actualText = plainText(actual, &wasCut);
    const std::string plain = plainText(expected);
    if (wasCut) {
        return plain.compare(0, actualText.size(), actualText) == 0;
    }
    const auto number = numberOf(plain);
    return plain == actualText || (number && number == numberOf(actualText));
}

bool hasField(std::string_view text, const NamedText& field) {
    while (!text.empty()) {
        const std::string_view word = takeWord(text);
        const std::size_t equals = word.find('=');
        if (equals != std::string_view::npos && word.substr(0, equals) == field.first &&
            isSameValue(field.second, word.substr(equals + 1))) {
            return true;
        }
    }
    return false;
}

std::string hexadecimal(long long number) {
    char text[24];
    std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(number));
    return text;
}

// The message for a name that there is not, with the nearest one of those that there are.
[[noreturn]] void refuseName(const std::string& what, const std::string& name, const std::vector<std::string>& known) {
    const std::string near = nearest(name, known);
    throw UsageError(what + (near.empty() ? "" : ", did you mean " + near + "?"));
}

// Returns the fields of a function. What can only be made to fail has none, and is no call.
const std::vector<std::string>& fieldsOf(const std::string& call) {
    std::vector<std::string> known;
    for (const Function& function : description().functions) {
        if (function.fields.empty()) {
            continue;
        }
        if (function.name == call) {
            return function.fields;
        }
        known.push_back(function.name);
    }
    refuseName("no such middleware function: " + call, call, known);
}

}  // namespace

JournalCall parseJournalCall(const Field& field) {
    const auto text = [&](const char* name) { return std::get<std::string>(field.at(name).value()); };
    return {static_cast<unsigned long long>(field.at("number").number()), text("call"), text("arguments"),
            text("outputs"), field.at("result").number()};
}

CallPattern::CallPattern(const std::string& pattern) : text(pattern), call(firstWord(pattern)) {
    std::string_view rest = pattern;
    takeWord(rest);
    const std::vector<std::string>& known = fieldsOf(call);
    for (std::string_view word = takeWord(rest); !word.empty(); word = takeWord(rest)) {
        const std::size_t equals = word.find('=');
        if (equals == std::string_view::npos || equals + 1 == word.size()) {
            throw UsageError("\"" + pattern + "\": \"" + std::string(word) + "\" is not of the form field=value");
        }
        std::string name(word.substr(0, equals));
        if (name != kResult && std::find(known.begin(), known.end(), name) == known.end()) {
            refuseName(call + " has no field \"" + name + "\"", name, known);
        }
        const std::string value(word.substr(equals + 1));
        if (name != kResult) {
            fields.emplace_back(std::move(name), value);
        } else if (!(result = numberOf(value))) {
            throw UsageError("\"" + pattern + "\": a result is a number");
        }
    }
}

bool CallPattern::matches(const JournalCall& entry) const {
    if (entry.name != call || (result && *result != entry.result)) {
        return false;
    }
    return std::all_of(fields.begin(), fields.end(), [&](const NamedText& field) {
        return hasField(entry.arguments, field) || hasField(entry.outputs, field);
    });
}

std::string findCalls(const std::vector<CallPattern>& patterns, const std::vector<JournalCall>& entries,
                      OtherCalls others) {
    auto expected = patterns.begin();
    for (const JournalCall& entry : entries) {
        if (expected != patterns.end() && expected->matches(entry)) {
            ++expected;
        } else if (others == OtherCalls::forbidden) {
            return expected != patterns.end() ? "in place of " + expected->text + " came " + callLine(entry)
                                              : "not expected: " + callLine(entry);
        }
    }
    if (expected == patterns.end()) {
        return {};
    }
    // The call of that name which does not match is the most useful one to show.
    const auto similar = std::find_if(entries.rbegin(), entries.rend(),
                                      [&](const JournalCall& entry) { return entry.name == expected->call; });
    const std::string where = expected == patterns.begin() ? "" : " after " + std::prev(expected)->text;
    return "no call " + expected->text + where +
           (similar != entries.rend() ? ", but " + callLine(*similar) : std::string());
}

std::string callLine(const JournalCall& entry) {
    return entry.name + "(" + entry.arguments +
           ") = " + (entry.result <= 0 ? std::to_string(entry.result) : hexadecimal(entry.result)) +
           (entry.outputs.empty() ? "" : ", " + entry.outputs);
}

}  // namespace tool
