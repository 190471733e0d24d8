// SPDX-License-Identifier: Apache-2.0
// What a value has to be: how it is read, and how a value is judged by it.
#include "judge/condition.h"

#include <map>

#include "judge/parameter.h"

namespace tool {

namespace {

const std::map<std::string, Compare>& compares() {
    static const std::map<std::string, Compare> all = {{"is", Compare::is},
                                                       {"is-not", Compare::isNot},
                                                       {"contains", Compare::contains},
                                                       {"starts-with", Compare::startsWith},
                                                       {"matches", Compare::matches},
                                                       {"in", Compare::within}};
    return all;
}

// "100..200"
bool parseRange(const std::string& word, long long& low, long long& high) {
    const std::size_t dots = word.find("..");
    return dots != std::string::npos && parseNumber(word.substr(0, dots), low) &&
           parseNumber(word.substr(dots + 2), high) && low <= high;
}

// The distance is unsigned: a range may span more than a signed number holds.
unsigned long long distance(long long low, long long high) {
    return static_cast<unsigned long long>(high) - static_cast<unsigned long long>(low);
}

// "A..B [margin M]" from words[i] on; returns the place behind it.
std::size_t readWithin(const Words& words, std::size_t i, Condition& condition) {
    if (!parseRange(words[i], condition.low, condition.high)) {
        throw UsageError(display(words[i], 40) + ": expected a range like 100..200", i);
    }
    if (i + 1 >= words.size() || words[i + 1] != "margin") {
        return i + 1;
    }
    if (i + 2 >= words.size() || !parseNumber(words[i + 2], condition.margin) || condition.margin < 0) {
        throw UsageError("margin: expected a number of at least 0", i + 2);
    }
    const auto margin = static_cast<unsigned long long>(condition.margin);
    // The middle is the farthest from both ends.
    if (distance(condition.low, condition.high) / 2 < margin) {
        throw UsageError(
            "margin " + std::to_string(margin) + ": every number in " + words[i] + " is nearer than that to an end",
            i + 2);
    }
    return i + 3;
}

void readPattern(Condition& condition) {
    if (!variablesOf(condition.expected).empty()) {
        throw UsageError("matches takes no ${NAME}, expected is, contains or starts-with");
    }
    condition.pattern = parsePattern(condition.expected);
}

void checkExpected(const Condition& condition) {
    if (!variablesOf(condition.expected).empty()) {
        return;
    }
    long long number = 0;
    if (condition.subject == "status" && !parseNumber(condition.expected, number)) {
        throw UsageError("status " + display(condition.expected, 40) + ": expected ok, failed or a number");
    }
    if (condition.subject == kRefusals && !parseNumber(condition.expected, number)) {
        throw UsageError("refusals " + display(condition.expected, 40) + ": expected a number");
    }
    static_cast<void>(parseBytes(condition.expected));
}

// "expect status ok" and "expect status -2" need no word between, and "is" may stand there.
void readStatusWord(Condition& condition) {
    if (condition.subject == "status" && condition.compare == Compare::is) {
        condition.compare = condition.expected == "ok"       ? Compare::good
                            : condition.expected == "failed" ? Compare::failed
                                                             : Compare::is;
    }
}

Judgement failed(const Condition& condition, const Value& value, const std::string& wanted) {
    return {Verdict::failed, condition.subject + " is " + display(value, 200) + ", expected " + wanted};
}

Judgement passedIf(bool good, const Condition& condition, const Value& value, const std::string& wanted) {
    return good ? Judgement{} : failed(condition, value, wanted);
}

// What texts and bytes are compared as; numbers as they are written.
std::string asText(const Value& value) {
    if (const auto* number = std::get_if<long long>(&value)) {
        return std::to_string(*number);
    }
    if (const auto* text = std::get_if<std::string>(&value)) {
        return *text;
    }
    const Bytes& bytes = std::get<Bytes>(value);
    return {bytes.begin(), bytes.end()};
}

bool isEqual(const Value& value, const std::string& expected) {
    if (const auto* number = std::get_if<long long>(&value)) {
        long long wanted = 0;
        return parseNumber(expected, wanted) && wanted == *number;
    }
    return asText(value) == asText(parseBytes(expected));
}

Judgement judgeRange(const Condition& condition, const Value& value) {
    const std::string range = std::to_string(condition.low) + ".." + std::to_string(condition.high);
    long long number = 0;
    if (!asNumber(value, number) || number < condition.low || number > condition.high) {
        return failed(condition, value, "a number in " + range);
    }
    const auto margin = static_cast<unsigned long long>(condition.margin);
    if (distance(condition.low, number) < margin || distance(number, condition.high) < margin) {
        return {Verdict::marginal, condition.subject + " is " + std::to_string(number) + ", nearer than " +
                                       std::to_string(condition.margin) + " to an end of " + range};
    }
    return {};
}

Judgement judgePattern(const Condition& condition, const Value& value) {
    const std::string text = asText(value);
    if (text.size() > kLongestValue) {
        return failed(condition, value, "at most " + std::to_string(kLongestValue) + " bytes to match");
    }
    return passedIf(hasPattern(text, condition.pattern), condition, value,
                    "something that matches " + display(condition.expected, 200));
}

Judgement judgeValue(const Condition& condition, const Value& value, const std::string& expected) {
    const std::string wanted = display(expected, 200);
    switch (condition.compare) {
        case Compare::good:
        case Compare::failed:
        case Compare::is:
            return passedIf(isEqual(value, expected), condition, value, wanted);
        case Compare::isNot:
            return passedIf(!isEqual(value, expected), condition, value, "anything else");
        case Compare::contains:
            return passedIf(asText(value).find(asText(parseBytes(expected))) != std::string::npos, condition, value,
                            "something with " + wanted);
        case Compare::startsWith:
            return passedIf(asText(value).rfind(asText(parseBytes(expected)), 0) == 0, condition, value,
                            "something that starts with " + wanted);
        case Compare::matches:
            return judgePattern(condition, value);
        case Compare::within:
            return judgeRange(condition, value);
    }
    return {};
}

}  // namespace

bool asNumber(const Value& value, long long& number) {
    if (const auto* whole = std::get_if<long long>(&value)) {
        number = *whole;
        return true;
    }
    const auto* text = std::get_if<std::string>(&value);
    return text != nullptr && parseNumber(*text, number);
}

bool isCompareWord(const std::string& word) {
    return compares().count(word) != 0;
}

std::size_t readCondition(const Words& words, std::size_t i, Condition& condition) {
    const auto compare = i < words.size() ? compares().find(words[i]) : compares().end();
    if (compare != compares().end()) {
        condition.compare = compare->second;
        ++i;
    }
    if (i >= words.size()) {
        throw UsageError("the value behind " + words.back() + " is missing", i);
    }
    condition.expected = words[i];
    readStatusWord(condition);
    if (condition.compare == Compare::within) {
        return readWithin(words, i, condition);
    }
    try {
        if (condition.compare == Compare::matches) {
            readPattern(condition);
        } else if (condition.compare != Compare::good && condition.compare != Compare::failed) {
            checkExpected(condition);
        }
    } catch (const UsageError& error) {
        throw UsageError(error.what(), i);
    }
    return i + 1;
}

Judgement judge(const Condition& condition, const Value& value, const Variables& variables) {
    // A pattern is never substituted: "$" has a meaning of its own there.
    return judgeValue(condition, value,
                      condition.compare == Compare::matches ? "" : substitute(condition.expected, variables));
}

}  // namespace tool
