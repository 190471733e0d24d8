// SPDX-License-Identifier: Apache-2.0
// Expectations: how they are read, and how they judge what a line answered.
#include <array>

#include "plan.h"

namespace tool {

namespace {

// The standard library reads and matches regular expressions recursively: more would need more stack than there is.
constexpr std::size_t kLongestPattern = 256;
constexpr std::size_t kLongestMatched = 4096;

constexpr std::array<const char*, 6> kVerdicts = {"passed", "marginal", "failed", "died", "interrupted", "not run"};

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

// "in A..B margin M"; returns how many words belong to the expectation.
std::size_t readWithin(const Words& words, Expectation& expectation) {
    if (!parseRange(words[3], expectation.low, expectation.high)) {
        throw UsageError(display(words[3], 40) + ": expected a range like 100..200");
    }
    if (words.size() == 4 || words[4] != "margin") {
        return 4;
    }
    if (words.size() < 6 || !parseNumber(words[5], expectation.margin) || expectation.margin < 0) {
        throw UsageError("margin: expected a number of at least 0");
    }
    return 6;
}

void readPattern(Expectation& expectation) {
    if (!variablesOf(expectation.expected).empty()) {
        throw UsageError("matches takes no ${NAME}, expected is, contains or starts-with");
    }
    if (expectation.expected.size() > kLongestPattern) {
        throw UsageError("the regular expression has more than " + std::to_string(kLongestPattern) + " characters");
    }
    try {
        expectation.pattern.assign(expectation.expected, std::regex::ECMAScript | std::regex::optimize);
    } catch (const std::regex_error& error) {
        throw UsageError(display(expectation.expected, 40) + " is no regular expression: " + error.what());
    }
}

void checkExpected(const Expectation& expectation) {
    if (!variablesOf(expectation.expected).empty()) {
        return;
    }
    long long number = 0;
    if (expectation.output == "status" && !parseNumber(expectation.expected, number)) {
        throw UsageError("status " + display(expectation.expected, 40) + ": expected ok, failed or a number");
    }
    static_cast<void>(parseBytes(expectation.expected));
}

// "expect status ok" and "expect status -2" need no word between, and "is" may stand there.
void readStatusWord(Expectation& expectation) {
    if (expectation.output == "status" && expectation.compare == Compare::is) {
        expectation.compare = expectation.expected == "ok"       ? Compare::good
                              : expectation.expected == "failed" ? Compare::failed
                                                                 : Compare::is;
    }
}

Judgement failed(const Expectation& expectation, const Value& value, const std::string& wanted) {
    return {Verdict::failed, expectation.output + " is " + display(value, 200) + ", expected " + wanted};
}

Judgement passedIf(bool good, const Expectation& expectation, const Value& value, const std::string& wanted) {
    return good ? Judgement{} : failed(expectation, value, wanted);
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

bool asNumber(const Value& value, long long& number) {
    if (const auto* whole = std::get_if<long long>(&value)) {
        number = *whole;
        return true;
    }
    const auto* text = std::get_if<std::string>(&value);
    return text != nullptr && parseNumber(*text, number);
}

bool isEqual(const Value& value, const std::string& expected) {
    if (const auto* number = std::get_if<long long>(&value)) {
        long long wanted = 0;
        return parseNumber(expected, wanted) && wanted == *number;
    }
    return asText(value) == asText(parseBytes(expected));
}

Judgement judgeRange(const Expectation& expectation, const Value& value) {
    const std::string range = std::to_string(expectation.low) + ".." + std::to_string(expectation.high);
    long long number = 0;
    if (!asNumber(value, number) || number < expectation.low || number > expectation.high) {
        return failed(expectation, value, "a number in " + range);
    }
    const auto margin = static_cast<unsigned long long>(expectation.margin);
    if (distance(expectation.low, number) < margin || distance(number, expectation.high) < margin) {
        return {Verdict::marginal, expectation.output + " is " + std::to_string(number) + ", nearer than " +
                                       std::to_string(expectation.margin) + " to an end of " + range};
    }
    return {};
}

Judgement judgePattern(const Expectation& expectation, const Value& value) {
    const std::string text = asText(value);
    if (text.size() > kLongestMatched) {
        return failed(expectation, value, "at most " + std::to_string(kLongestMatched) + " bytes to match");
    }
    return passedIf(std::regex_search(text, expectation.pattern), expectation, value,
                    "something that matches " + display(expectation.expected, 200));
}

Judgement judgeValue(const Expectation& expectation, const Value& value, const std::string& expected) {
    const std::string wanted = display(expected, 200);
    switch (expectation.compare) {
        case Compare::good:
        case Compare::failed:
        case Compare::is:
            return passedIf(isEqual(value, expected), expectation, value, wanted);
        case Compare::isNot:
            return passedIf(!isEqual(value, expected), expectation, value, "anything else");
        case Compare::contains:
            return passedIf(asText(value).find(asText(parseBytes(expected))) != std::string::npos, expectation, value,
                            "something with " + wanted);
        case Compare::startsWith:
            return passedIf(asText(value).rfind(asText(parseBytes(expected)), 0) == 0, expectation, value,
                            "something that starts with " + wanted);
        case Compare::matches:
            return judgePattern(expectation, value);
        case Compare::within:
            return judgeRange(expectation, value);
    }
    return {};
}

}  // namespace

Expectation parseExpectation(const Words& words) {
    if (words.size() < 3) {
        throw UsageError("expected: expect OUTPUT [is|is-not|contains|starts-with|matches|in] VALUE");
    }
    Expectation expectation;
    expectation.output = words[1];
    const auto compare = compares().find(words[2]);
    const bool isNamed = compare != compares().end();
    if (isNamed && words.size() < 4) {
        throw UsageError("the value behind " + words[2] + " is missing");
    }
    expectation.compare = isNamed ? compare->second : Compare::is;
    expectation.expected = words[isNamed ? 3 : 2];
    std::size_t used = isNamed ? 4 : 3;
    readStatusWord(expectation);
    if (expectation.compare == Compare::within) {
        used = readWithin(words, expectation);
    } else if (expectation.compare == Compare::matches) {
        readPattern(expectation);
    } else if (expectation.compare != Compare::good && expectation.compare != Compare::failed) {
        checkExpected(expectation);
    }
    if (words.size() > used) {
        throw UsageError(display(words[used], 40) + " is one word too many");
    }
    for (const std::string& word : words) {
        expectation.text += (expectation.text.empty() ? "" : " ") + quoteWord(word);
    }
    return expectation;
}

const char* verdictName(Verdict verdict) {
    return kVerdicts[static_cast<std::size_t>(verdict)];
}

bool isBad(Verdict verdict) {
    return verdict != Verdict::passed && verdict != Verdict::marginal;
}

Judgement judge(const Expectation& expectation, const Command& command, const Outcome& outcome,
                const Variables& variables) {
    if (expectation.compare == Compare::good || expectation.compare == Compare::failed) {
        return outcome.good == (expectation.compare == Compare::good)
                   ? Judgement{}
                   : Judgement{Verdict::failed, "status is " + std::to_string(outcome.status) + " (" +
                                                    command.word(outcome) + "), expected " + expectation.expected};
    }
    const Value status(outcome.status);
    const Value* value = expectation.output == "status" ? &status : outcome.find(expectation.output);
    if (value == nullptr) {
        return {Verdict::failed, "no " + expectation.output + ", status is " + std::to_string(outcome.status) + " (" +
                                     command.word(outcome) + ")"};
    }
    // A pattern is never substituted: "$" has a meaning of its own there.
    return judgeValue(expectation, *value,
                      expectation.compare == Compare::matches ? "" : substitute(expectation.expected, variables));
}

}  // namespace tool
