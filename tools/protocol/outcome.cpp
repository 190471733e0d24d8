// SPDX-License-Identifier: Apache-2.0
// What one call has answered: its words, and its fields in a message.
#include "protocol/outcome.h"

#include <array>
#include <cstdio>

namespace tool {

namespace {

Field rowField(const Row& row) {
    Field field = {{"value", Field::ofSet(row.value)}};
    Field::Fields parts;
    for (const auto& [name, value] : row.fields) {
        parts.emplace_back(name, Field::ofSet(value));
    }
    if (!parts.empty()) {
        field.set("fields", std::move(parts));
    }
    return field;
}

Row parseRow(const Field& field) {
    Row row = {field.at("value").value()};
    if (field.has("fields")) {
        for (const auto& [name, value] : field["fields"].fields()) {
            row.fields.emplace_back(name, value.value());
        }
    }
    return row;
}

// A text that may hold any bytes.
std::string textOf(const Field& field) {
    return field.isNull() ? std::string() : field.text();
}

}  // namespace

const Value* Outcome::find(std::string_view name) const {
    for (const auto& [outputName, value] : outputs) {
        if (outputName == name) {
            return &value;
        }
    }
    return nullptr;
}

bool isGood(Result result, long long status) {
    switch (result) {
        case Result::status:
        case Result::zeroOr255:
            return status == 0;
        case Result::oneIsGood:
            return status == 1;
        case Result::alwaysFails:
            return status == -1;
        case Result::countOrNegative:
            return status >= 0;
        case Result::value:
        case Result::nothing:
            return true;
    }
    return false;
}

std::string statusWord(Result result, long long status) {
    static constexpr std::array<const char*, 7> kWords = {
        "ok",           "failed", "invalid parameter", "not implemented", "out of memory", "not in factory mode",
        "not supported"};
    if (result == Result::value || result == Result::nothing) {
        return "value";
    }
    if (result == Result::alwaysFails) {
        return status == -1 ? "as always" : "unknown";
    }
    if (isGood(result, status)) {
        return "ok";
    }
    if (result == Result::status && status < 0 && status > -static_cast<long long>(kWords.size())) {
        return kWords[static_cast<std::size_t>(-status)];
    }
    return "failed";
}

std::string callText(const std::string& name, const std::string& arguments, long long result) {
    char code[32];
    std::snprintf(code, sizeof(code), "0x%llx", static_cast<unsigned long long>(result));
    return name + "(" + arguments + ") = " + (result <= 0 ? std::to_string(result) : code);
}

std::string displayCall(const FailedCall& call) {
    std::string word = call.word;
    if (call.byFault) {
        word += word.empty() ? "by fault" : ", by fault";
    }
    return callText(call.name, call.arguments, call.result) + (word.empty() ? "" : " (" + word + ")");
}

std::string displayRefusal(const RefusedCall& call) {
    const std::string text = call.objection.empty()
                                 ? "the chip refused " + callText(call.name, call.arguments, call.result) +
                                       (call.word.empty() ? "" : " (" + call.word + ")")
                                 : "the chip objects to " + call.name + "(" + call.arguments + "): " + call.objection;
    return call.contract.empty() ? text : text + ", by contract: " + call.contract;
}

void addTo(Field& answer, const Outcome& outcome) {
    answer.set("status", outcome.status);
    answer.set("good", outcome.good);
    Field::List outputs;
    for (const auto& [name, value] : outcome.outputs) {
        Field output = {{"name", name}, {"value", Field::ofSet(value)}};
        const auto list = outcome.lists.find(name);
        if (list != outcome.lists.end()) {
            Field::List rows;
            for (const Row& row : list->second) {
                rows.push_back(rowField(row));
            }
            output.set("rows", std::move(rows));
        }
        outputs.push_back(std::move(output));
    }
    answer.set("outputs", std::move(outputs));
    Field::List failed, refused;
    for (const FailedCall& call : outcome.failedCalls) {
        failed.push_back({{"name", call.name},
                          {"arguments", Field::ofSet(call.arguments)},
                          {"result", call.result},
                          {"word", Field::ofSet(call.word)},
                          {"fault", call.byFault}});
    }
    for (const RefusedCall& call : outcome.refusals) {
        refused.push_back({{"number", call.number},
                           {"name", call.name},
                           {"arguments", Field::ofSet(call.arguments)},
                           {"result", call.result},
                           {"word", call.word},
                           {"objection", Field::ofSet(call.objection)},
                           {"contract", call.contract}});
    }
    if (!failed.empty()) {
        answer.set("failed", std::move(failed));
    }
    if (!refused.empty()) {
        answer.set("refused", std::move(refused));
    }
}

Outcome parseOutcome(const Field& answer) {
    Outcome outcome;
    outcome.status = answer.at("status").number();
    outcome.good = answer.at("good").flag();
    for (const Field& output : answer.at("outputs").list()) {
        const std::string& name = output.at("name").text();
        outcome.outputs.emplace_back(name, output.at("value").value());
        if (output.has("rows")) {
            Rows& rows = outcome.lists[name];
            for (const Field& row : output["rows"].list()) {
                rows.push_back(parseRow(row));
            }
        }
    }
    if (answer.has("failed")) {
        for (const Field& call : answer["failed"].list()) {
            outcome.failedCalls.push_back({call.at("name").text(), textOf(call["arguments"]),
                                           call["result"].numberOr(0), textOf(call["word"]),
                                           call["fault"].flagOr(false)});
        }
    }
    if (answer.has("refused")) {
        for (const Field& call : answer["refused"].list()) {
            outcome.refusals.push_back({static_cast<std::uint64_t>(call["number"].numberOr(0)), call.at("name").text(),
                                        textOf(call["arguments"]), call["result"].numberOr(0), textOf(call["word"]),
                                        textOf(call["objection"]), textOf(call["contract"])});
        }
    }
    return outcome;
}

}  // namespace tool
