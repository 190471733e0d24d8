// SPDX-License-Identifier: Apache-2.0
// Expectations: how they are read, and how they judge what a line answered.
#include "judge/expectation.h"

#include "target/output.h"

namespace tool {

namespace {

Condition parseOutputCondition(const Words& words) {
    if (words.size() < 2) {
        throw UsageError("expected: expect OUTPUT [is|is-not|contains|starts-with|matches|in] VALUE", words.size());
    }
    Condition condition;
    condition.subject = words[0];
    const std::size_t used = readCondition(words, 1, condition);
    if (words.size() > used) {
        throw UsageError(display(words[used], 40) + " is one word too many", used);
    }
    return condition;
}

// Why an output is missing.
std::string statusText(const Command& command, const Outcome& outcome) {
    return "status is " + std::to_string(outcome.status) + " (" + command.word(outcome) + ")" + reasonOf(outcome);
}

// The words behind "expect".
decltype(Expectation::what) parseWhat(const Words& words) {
    if (!words.empty() && (words[0] == "event" || words[0] == "no")) {
        return parseEventCondition(words);
    }
    if (beginsCallsCondition(words)) {
        return parseCallsCondition(words);
    }
    return parseOutputCondition(words);
}

}  // namespace

bool Expectation::isAboutStatus() const {
    const auto* condition = std::get_if<Condition>(&what);
    const auto* measure = std::get_if<Measure>(&what);
    return (condition != nullptr && condition->subject == "status") ||
           (measure != nullptr && measure->subject == "status");
}

bool Expectation::isAboutArrivals() const {
    return std::holds_alternative<EventCondition>(what) || std::holds_alternative<CallsCondition>(what);
}

bool Expectation::isAboutChip() const {
    const auto* condition = std::get_if<Condition>(&what);
    return condition != nullptr ? condition->subject == kRefusals : std::holds_alternative<CallsCondition>(what);
}

Expectation parseExpectation(const Words& words) {
    Expectation expectation;
    if (words[0] == "measure") {
        expectation.what = parseMeasure(words);
    } else {
        try {
            expectation.what = parseWhat({words.begin() + 1, words.end()});
        } catch (const UsageError& error) {
            throw error.behind(1, error.what());
        }
    }
    for (const std::string& word : words) {
        expectation.text += (expectation.text.empty() ? "" : " ") + quoteWord(word);
    }
    return expectation;
}

Judgement judge(const Condition& condition, const Command& command, const Outcome& outcome,
                const Variables& variables) {
    if (condition.compare == Compare::good || condition.compare == Compare::failed) {
        return outcome.good == (condition.compare == Compare::good)
                   ? Judgement{}
                   : Judgement{Verdict::failed, "status is " + std::to_string(outcome.status) + " (" +
                                                    command.word(outcome) + "), expected " + condition.expected +
                                                    reasonOf(outcome)};
    }
    const Value status(outcome.status);
    const Value* value = condition.subject == "status" ? &status : outcome.find(condition.subject);
    if (value == nullptr) {
        return {Verdict::failed, "no " + condition.subject + ", " + statusText(command, outcome)};
    }
    return judge(condition, *value, variables);
}

Measured judge(const Measure& measure, const Command& command, const Outcome& outcome, const Limits& limits) {
    const Value status(outcome.status);
    const Value* value = measure.subject == "status" ? &status : outcome.find(measure.subject);
    return judge(measure, value, "no " + measure.subject + ", " + statusText(command, outcome), limits);
}

}  // namespace tool
