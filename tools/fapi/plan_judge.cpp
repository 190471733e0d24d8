// SPDX-License-Identifier: Apache-2.0
// Judges what a line answered.
#include <array>

#include "plan.h"

namespace tool {

namespace {

constexpr std::array<const char*, 6> kVerdicts = {"passed", "marginal", "failed", "died", "interrupted", "not run"};

// The standard library matches recursively: a long text would need more stack than there is.
constexpr std::size_t kLongestMatched = 4096;

Judgement failed(const Expectation& expectation, const Value& value, const std::string& wanted) {
    return {Verdict::failed, expectation.output + " is " + display(value, 200) + ", expected " + wanted};
}

// Texts and bytes are compared as bytes, numbers as numbers.
bool isEqual(const Value& value, const std::string& expected) {
    if (const auto* number = std::get_if<long long>(&value)) {
        long long wanted = 0;
        return parseNumber(expected, wanted) && wanted == *number;
    }
    if (const auto* text = std::get_if<std::string>(&value)) {
        const Bytes wanted = parseBytes(expected);
        return std::string_view(*text) == std::string_view(reinterpret_cast<const char*>(wanted.data()), wanted.size());
    }
    return std::get<Bytes>(value) == parseBytes(expected);
}

// What contains, starts-with and matches look at.
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

Judgement judgeRange(const Expectation& expectation, const Value& value) {
    const std::string range = std::to_string(expectation.low) + ".." + std::to_string(expectation.high);
    const auto* number = std::get_if<long long>(&value);
    if (number == nullptr || *number < expectation.low || *number > expectation.high) {
        return failed(expectation, value, "a number in " + range);
    }
    // The distances are unsigned: the range may span more than a signed number holds.
    const auto below = static_cast<unsigned long long>(*number) - static_cast<unsigned long long>(expectation.low);
    const auto above = static_cast<unsigned long long>(expectation.high) - static_cast<unsigned long long>(*number);
    const auto margin = static_cast<unsigned long long>(expectation.margin);
    if (below < margin || above < margin) {
        return {Verdict::marginal, expectation.output + " is " + std::to_string(*number) + ", nearer than " +
                                       std::to_string(expectation.margin) + " to an end of " + range};
    }
    return {};
}

Judgement judgeValue(const Expectation& expectation, const Value& value, const std::string& expected) {
    const std::string text = asText(value);
    switch (expectation.compare) {
        case Compare::good:
        case Compare::failed:
        case Compare::is:
            return isEqual(value, expected) ? Judgement{} : failed(expectation, value, display(expected, 200));
        case Compare::isNot:
            return !isEqual(value, expected) ? Judgement{} : failed(expectation, value, "anything else");
        case Compare::contains:
            return text.find(expected) != std::string::npos
                       ? Judgement{}
                       : failed(expectation, value, "something with " + display(expected, 200));
        case Compare::startsWith:
            return text.rfind(expected, 0) == 0
                       ? Judgement{}
                       : failed(expectation, value, "something that starts with " + display(expected, 200));
        case Compare::matches:
            if (text.size() > kLongestMatched) {
                return failed(expectation, value, "at most 4,096 bytes to match");
            }
            return std::regex_search(text, expectation.pattern)
                       ? Judgement{}
                       : failed(expectation, value, "something that matches " + display(expected, 200));
        case Compare::within:
            return judgeRange(expectation, value);
    }
    return {};
}

}  // namespace

const char* verdictName(Verdict verdict) {
    return kVerdicts[static_cast<std::size_t>(verdict)];
}

Verdict verdictOf(const std::string& name) {
    for (std::size_t i = 0; i < kVerdicts.size(); ++i) {
        if (name == kVerdicts[i]) {
            return static_cast<Verdict>(i);
        }
    }
    return Verdict::failed;
}

bool isBad(Verdict verdict) {
    return verdict != Verdict::passed && verdict != Verdict::marginal;
}

Judgement judge(const Expectation& expectation, const Command& command, const Outcome& outcome,
                const Variables& variables) {
    if (expectation.output == "status" &&
        (expectation.compare == Compare::good || expectation.compare == Compare::failed)) {
        const bool wantGood = expectation.compare == Compare::good;
        return outcome.good == wantGood
                   ? Judgement{}
                   : Judgement{Verdict::failed, "status is " + std::to_string(outcome.status) + " (" +
                                                    command.word(outcome) + "), expected " + expectation.expected};
    }
    std::string expected = expectation.expected;
    if (!substitute(expected, variables)) {
        return {Verdict::failed, "${" + expected + "} has no value"};
    }
    if (expectation.output == "status") {
        return judgeValue(expectation, Value(outcome.status), expected);
    }
    const Value* value = outcome.find(expectation.output);
    if (value == nullptr) {
        return {Verdict::failed, "no " + expectation.output + ", status is " + std::to_string(outcome.status) + " (" +
                                     command.word(outcome) + ")"};
    }
    return judgeValue(expectation, *value, expected);
}

}  // namespace tool
