// SPDX-License-Identifier: Apache-2.0
// What an agent answers to a call of an operation, or to an action.
#include "target/call_answer.h"

namespace tool {

namespace {

std::vector<std::string> textsOf(const Field& list) {
    std::vector<std::string> texts;
    if (!list.isNull()) {
        for (const Field& text : list.list()) {
            texts.push_back(text.text());
        }
    }
    return texts;
}

std::chrono::steady_clock::time_point timeOf(const Field& moment) {
    return std::chrono::steady_clock::time_point(std::chrono::nanoseconds(moment["mono"].numberOr(0)));
}

}  // namespace

std::vector<Unprepared> parseUnprepared(const Field& result) {
    std::vector<Unprepared> all;
    if (result.has("unprepared")) {
        for (const Field& failure : result["unprepared"].list()) {
            all.push_back({failure.at("operation").text(), parseOutcome(failure)});
        }
    }
    return all;
}

CallAnswer parseCallAnswer(const Field& result) {
    CallAnswer answer;
    answer.outcome = parseOutcome(result);
    answer.prepared = textsOf(result["prepared"]);
    answer.unprepared = parseUnprepared(result);
    answer.begun = timeOf(result["begun"]);
    answer.ended = timeOf(result["ended"]);
    answer.log = textsOf(result["log"]);
    answer.troubles = textsOf(result["troubles"]);
    return answer;
}

}  // namespace tool
