// SPDX-License-Identifier: Apache-2.0
// What an agent answers to a call of an operation, or to an action.
#include "target/call_answer.h"

#include <algorithm>

namespace tool {

namespace {

template <class Item, class Parse>
std::vector<Item> parseList(const Field& list, Parse&& parse) {
    std::vector<Item> items;
    if (!list.isNull()) {
        std::transform(list.list().begin(), list.list().end(), std::back_inserter(items), parse);
    }
    return items;
}

std::string parseText(const Field& text) {
    return text.text();
}

Moment parseMoment(const Field& moment) {
    return {moment["mono"].numberOr(0), moment["wall"].numberOr(0)};
}

AnswerRow parseRow(const Field& row) {
    AnswerRow parsed = {row.at("value").value(), {}};
    if (row.has("fields")) {
        for (const auto& [name, field] : row["fields"].fields()) {
            parsed.fields.emplace_back(name, field.value());
        }
    }
    return parsed;
}

AnswerOutput parseOutput(const Field& output) {
    return {output.at("name").text(), output.at("value").value(), parseList<AnswerRow>(output["rows"], parseRow)};
}

MiddlewareCall parseMiddlewareCall(const Field& call) {
    MiddlewareCall parsed;
    parsed.number = call["number"].numberOr(0);
    parsed.name = call.at("name").text();
    parsed.arguments = call["arguments"].textOr("");
    parsed.result = call["result"].numberOr(0);
    parsed.word = call["word"].textOr("");
    parsed.byFault = call["fault"].flagOr(false);
    parsed.objection = call["objection"].textOr("");
    parsed.contract = call["contract"].textOr("");
    return parsed;
}

}  // namespace

const AnswerOutput* CallAnswer::find(std::string_view name) const {
    const auto found =
        std::find_if(outputs.begin(), outputs.end(), [&](const AnswerOutput& output) { return output.name == name; });
    return found == outputs.end() ? nullptr : &*found;
}

CallAnswer parseCallAnswer(const Field& result) {
    CallAnswer answer;
    answer.status = result.at("status").number();
    answer.word = result["word"].textOr("");
    answer.good = result.at("good").flag();
    answer.outputs = parseList<AnswerOutput>(result["outputs"], parseOutput);
    answer.prepared = parseList<std::string>(result["prepared"], parseText);
    answer.microseconds = result["microseconds"].numberOr(0);
    answer.begun = parseMoment(result["begun"]);
    answer.ended = parseMoment(result["ended"]);
    answer.failedCalls = parseList<MiddlewareCall>(result["failed"], parseMiddlewareCall);
    answer.refusals = parseList<MiddlewareCall>(result["refused"], parseMiddlewareCall);
    answer.log = parseList<std::string>(result["log"], parseText);
    answer.troubles = parseList<std::string>(result["troubles"], parseText);
    return answer;
}

}  // namespace tool
