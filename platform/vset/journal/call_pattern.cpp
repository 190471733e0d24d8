// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdlib>

#include "description.h"
#include "vset/journal.h"

namespace vset {

namespace {

constexpr const char* kResult = "result";

using Field = std::pair<std::string, std::string>;

bool isBlank(char cText) {
    return cText == ' ' || cText == '\t';
}

// Cuts the next word off: everything up to a blank that is neither quoted nor in brackets.
std::string_view takeWord(std::string_view& rest) {
    while (!rest.empty() && isBlank(rest.front())) {
        rest.remove_prefix(1);
    }
    std::size_t length = 0;
    bool bQuoted = false;
    bool bBracket = false;
    for (; length < rest.size() && (bQuoted || bBracket || !isBlank(rest[length])); ++length) {
        const char cText = rest[length];
        if (bQuoted && cText == '\\' && length + 1 < rest.size()) {
            ++length;
        } else if (cText == '"' && !bBracket) {
            bQuoted = !bQuoted;
        } else if (!bQuoted) {
            bBracket = cText == '[' || (bBracket && cText != ']');
        }
    }
    const std::string_view word = rest.substr(0, length);
    rest.remove_prefix(length);
    return word;
}

std::string firstWord(std::string_view text) {
    return std::string(takeWord(text));
}

// Returns a quoted text without its quotes, everything else as it is. Sets `bCut` when the journal has cut it.
std::string plainText(std::string_view value, bool* pbCut = nullptr) {
    if (value.empty() || value.front() != '"') {
        return std::string(value);
    }
    std::string strPlain;
    std::size_t i = 1;
    for (; i < value.size() && value[i] != '"'; ++i) {
        i += value[i] == '\\' && i + 1 < value.size() ? 1 : 0;
        strPlain += value[i];
    }
    if (pbCut != nullptr) {
        *pbCut = i < value.size() && value.substr(i + 1) == "...";
    }
    return strPlain;
}

std::optional<long long> numberOf(const std::string& strText) {
    if (strText.empty()) {
        return std::nullopt;
    }
    char* pEnd = nullptr;
    // Accepts 64-bit addresses and negative numbers; base 0 would read "010" as 8.
    const bool bHexadecimal = strText.size() > 2 && strText[0] == '0' && (strText[1] == 'x' || strText[1] == 'X');
    const auto number = static_cast<long long>(std::strtoull(strText.c_str(), &pEnd, bHexadecimal ? 16 : 10));
    return *pEnd == '\0' ? std::optional(number) : std::nullopt;
}

bool isSameValue(const std::string& strExpected, std::string_view actual) {
    bool bCut = false;
    const std::string strActual = plainText(actual, &bCut);
    const std::string strPlain = plainText(strExpected);
    if (bCut) {
        return strPlain.compare(0, strActual.size(), strActual) == 0;
    }
    const auto number = numberOf(strPlain);
    return strPlain == strActual || (number && number == numberOf(strActual));
}

bool hasField(std::string_view text, const Field& field) {
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

std::vector<std::string> callNames() {
    std::vector<std::string> names;
    for (const CallDescription& stCall : callDescriptions()) {
        names.emplace_back(stCall.pszCall);
    }
    return names;
}

std::string hexadecimal(long long s64Value) {
    char acText[24];
    std::snprintf(acText, sizeof(acText), "0x%llx", static_cast<unsigned long long>(s64Value));
    return acText;
}

}  // namespace

CallPattern::CallPattern(const std::string& strPattern) : strText(strPattern), strCall(firstWord(strPattern)) {
    std::string_view rest = strPattern;
    takeWord(rest);
    const std::vector<std::string> known = callFields(strCall);
    for (std::string_view word = takeWord(rest); !word.empty(); word = takeWord(rest)) {
        const std::size_t equals = word.find('=');
        if (equals == std::string_view::npos || equals + 1 == word.size()) {
            throw SetError("\"" + strPattern + "\": \"" + std::string(word) + "\" is not of the form field=value");
        }
        std::string strName(word.substr(0, equals));
        if (!std::binary_search(known.begin(), known.end(), strName)) {
            throw UnknownCallName(strCall + " has no field \"" + strName + "\"", strName, known);
        }
        const std::string strValue(word.substr(equals + 1));
        if (strName != kResult) {
            fields.emplace_back(std::move(strName), strValue);
        } else if (!(result = numberOf(strValue))) {
            throw SetError("\"" + strPattern + "\": a result is a number");
        }
    }
}

bool CallPattern::matches(const JournalEntry& stEntry) const {
    if (stEntry.pszCall != strCall || (result && *result != stEntry.s64Result)) {
        return false;
    }
    return std::all_of(fields.begin(), fields.end(), [&](const Field& field) {
        return hasField(stEntry.strArguments, field) || hasField(stEntry.strOutputs, field);
    });
}

std::string findCalls(const std::vector<CallPattern>& patterns, const std::vector<JournalEntry>& entries,
                      OtherCalls eOthers) {
    auto expected = patterns.begin();
    for (const JournalEntry& stEntry : entries) {
        if (expected != patterns.end() && expected->matches(stEntry)) {
            ++expected;
        } else if (eOthers == OtherCalls::forbidden) {
            return expected != patterns.end() ? "in place of " + expected->strText + " came " + callLine(stEntry)
                                              : "not expected: " + callLine(stEntry);
        }
    }
    if (expected == patterns.end()) {
        return {};
    }
    // The call of that name which does not match is the most useful one to show.
    const auto similar = std::find_if(entries.rbegin(), entries.rend(), [&](const JournalEntry& stEntry) {
        return stEntry.pszCall == expected->strCall;
    });
    const std::string strWhere = expected == patterns.begin() ? "" : " after " + std::prev(expected)->strText;
    return "no call " + expected->strText + strWhere +
           (similar != entries.rend() ? ", but " + callLine(*similar) : std::string());
}

std::vector<std::string> callFields(const std::string& strCall) {
    const CallDescription* const pCall = findCallDescription(strCall);
    if (pCall == nullptr) {
        throw UnknownCallName("no such middleware function: " + strCall, strCall, callNames());
    }
    std::vector<std::string> names = pCall->fields;
    names.insert(std::upper_bound(names.begin(), names.end(), kResult), kResult);
    return names;
}

std::string callLine(const JournalEntry& stEntry) {
    return std::string(stEntry.pszCall) + "(" + stEntry.strArguments +
           ") = " + (stEntry.s64Result <= 0 ? std::to_string(stEntry.s64Result) : hexadecimal(stEntry.s64Result)) +
           (stEntry.strOutputs.empty() ? "" : ", " + stEntry.strOutputs);
}

}  // namespace vset
