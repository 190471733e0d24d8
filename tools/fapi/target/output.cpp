// SPDX-License-Identifier: Apache-2.0
// Outcomes as people and as programs read them.
#include "target/output.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>

#include "base/data_output.h"
#include "base/terminal.h"
#include "protocol/characters.h"
#include "target/target_description.h"

namespace tool {

namespace {

// What a text of the console may be cut to; programs get everything.
constexpr std::size_t kShown = 4096;
constexpr std::size_t kShownLines = 65536;
constexpr std::size_t kDumpLines = 64;
// What a person is shown of the calls that failed or were refused.
constexpr std::size_t kShownCalls = 5;
// Of more refusals than that by one line their number is enough.
constexpr std::size_t kKeptRefusals = 100;

const char* kindName(Kind kind) {
    switch (kind) {
        case Kind::number:
            return "number";
        case Kind::flag:
            return "flag";
        case Kind::choice:
            return "choice";
        case Kind::text:
            return "text";
        case Kind::path:
            return "path";
        case Kind::function:
            return "function";
        case Kind::partition:
            return "partition";
        case Kind::color:
            return "color";
        case Kind::bytes:
            return "bytes";
    }
    return "";
}

Json objectJson(const EventObject& object) {
    Json data = toJson(Value(object.data));
    data["text"] = printableBytes(object.data);
    return {{"value", object.value}, {"text", toJson(Value(object.text))}, {"data", std::move(data)}};
}

Json listJson(const Rows& rows, std::size_t limit) {
    Json json = Json::array();
    for (const Row& row : rows) {
        Json entry = row.fields.empty() ? toJson(row.value, limit) : Json::object();
        for (const auto& [name, value] : row.fields) {
            entry[name] = toJson(value, limit);
        }
        json.push_back(std::move(entry));
    }
    return json;
}

// Escapes in place of the bytes that are no UTF-8.
void makeValid(Json& json) {
    if (json.is_string()) {
        json = validText(json.get<std::string>());
    } else if (json.is_structured()) {
        for (Json& part : json) {
            makeValid(part);
        }
    }
}

std::string nameOf(const Command& command) {
    return command.operation() != nullptr ? command.operation()->shortName()
                                          : std::string("set ") + command.action()->name;
}

// The lines as they stand, but nothing that a terminal would obey.
std::string printableLines(const std::string& text) {
    std::string shown = printable(headOf(text, kShownLines), "\n\t");
    shown.erase(shown.find_last_not_of('\n') + 1);
    return text.size() <= kShownLines ? shown
                                      : shown + "\n... and " + std::to_string(text.size() - kShownLines) +
                                            " more bytes; --json shows them all";
}

// Bytes that do not fit a line.
std::string displayDump(const Command& command, const Bytes& bytes) {
    std::string text = " " + std::to_string(bytes.size()) + " bytes" + hexDump(bytes, kDumpLines);
    const std::size_t shown = kDumpLines * kDumpWidth;
    if (bytes.size() > shown) {
        const bool hasOutput = command.action() == nullptr || !command.action()->sessionOnly;
        text += "\n... and " + std::to_string(bytes.size() - shown) + " more bytes; " +
                (hasOutput ? "--output FILE takes them all" : "--json shows them all");
    }
    return text;
}

std::string displayOutput(const Command& command, const Value& value) {
    const auto* bytes = std::get_if<Bytes>(&value);
    if (bytes != nullptr && bytes->size() > kDumpWidth) {
        return displayDump(command, *bytes);
    }
    const auto* text = std::get_if<std::string>(&value);
    const std::size_t last = text != nullptr ? text->find_last_not_of('\n') : std::string::npos;
    const bool severalLines = last != std::string::npos && text->find('\n') < last;
    return severalLines ? "\n" + printableLines(*text) : " " + display(value, kShown);
}

// A line for each of the calls that failed, as far as a person reads.
std::string displayReasons(const std::vector<FailedCall>& calls) {
    std::string text;
    for (std::size_t i = 0; i < std::min(calls.size(), kShownCalls); ++i) {
        text += "\n  because: " + printable(displayCall(calls[i]));
    }
    return calls.size() > kShownCalls ? text + "\n  and " + std::to_string(calls.size() - kShownCalls) + " more" : text;
}

}  // namespace

std::string reasonOf(const Outcome& outcome) {
    return outcome.failedCalls.empty() ? "" : ", because " + displayCall(outcome.failedCalls.front());
}

Json toJson(const Value& value, std::size_t limit) {
    if (const auto* number = std::get_if<long long>(&value)) {
        return *number;
    }
    if (const auto* text = std::get_if<std::string>(&value)) {
        return isUtf8(*text) ? Json(beginningOf(*text, limit))
                             : toJson(Value(Bytes(text->begin(), text->end())), limit);
    }
    const Bytes& bytes = std::get<Bytes>(value);
    const auto shown = static_cast<std::ptrdiff_t>(std::min(bytes.size(), limit));
    return {{"size", bytes.size()}, {"hex", hexText(Bytes(bytes.begin(), bytes.begin() + shown), "")}};
}

Json toJson(const Command& command, const Outcome& outcome, std::size_t limit) {
    Json json;
    json["command"] = beginningOf(command.text(), limit);
    json[command.operation() != nullptr ? "operation" : "action"] =
        command.operation() != nullptr ? command.operation()->name : command.action()->name;
    json["status"] = outcome.status;
    json["word"] = command.word(outcome);
    json["good"] = outcome.good;
    json["outputs"] = Json::object();
    for (const auto& [name, value] : outcome.outputs) {
        const auto list = outcome.lists.find(name);
        json["outputs"][name] = list != outcome.lists.end() ? listJson(list->second, limit) : toJson(value, limit);
    }
    for (const FailedCall& call : outcome.failedCalls) {
        json["failed_calls"].push_back({{"call", call.name},
                                        {"arguments", call.arguments},
                                        {"result", call.result},
                                        {"word", call.word},
                                        {"fault", call.byFault}});
    }
    addRefusals(json, outcome.refusals);
    return json;
}

void addRefusals(Json& json, const std::vector<RefusedCall>& calls) {
    json.erase("refusals");
    const std::size_t kept = std::min(calls.size(), kKeptRefusals);
    for (std::size_t i = 0; i < kept; ++i) {
        const RefusedCall& call = calls[i];
        json["refusals"].push_back({{"call", call.name},
                                    {"arguments", call.arguments},
                                    {"result", call.result},
                                    {"word", call.word},
                                    {"objection", call.objection},
                                    {"contract", call.contract},
                                    {"text", displayRefusal(call)}});
    }
    if (calls.size() > kept) {
        json["refusals_left_out"] = calls.size() - kept;
    }
}

Json toJson(const Event& event) {
    const double seconds = std::chrono::duration<double>(event.time.time_since_epoch()).count();
    Json json = {{"time", std::round(seconds * 1000) / 1000}, {"module", event.module}, {"event", event.number}};
    json["objects"] = Json::array();
    for (const auto& object : event.objects) {
        json["objects"].push_back(objectJson(object));
    }
    return json;
}

Json toJson(const Operation& operation) {
    Json json = {{"name", operation.name},
                 {"short", operation.shortName()},
                 {"module", operation.module},
                 {"help", operation.help},
                 {"usage", usage(operation)}};
    json["arguments"] = Json::array();
    for (const Argument& argument : operation.arguments) {
        Json row = {{"name", argument.name}, {"kind", kindName(argument.kind)}, {"help", argument.help}};
        if (argument.kind == Kind::number || argument.max != 0) {
            row["min"] = argument.min;
            row["max"] = argument.max;
        }
        for (const Choice& choice : argument.choices) {
            row["choices"][choice.name] = choice.value;
        }
        if (argument.byDefault) {
            row["default"] = *argument.byDefault;
        }
        json["arguments"].push_back(std::move(row));
    }
    json["outputs"] = Json::array();
    for (const Output& output : operation.outputs) {
        json["outputs"].push_back({{"name", output.name}, {"help", outputHelp(output)}, {"bytes", output.isBytes}});
    }
    json["result"] = resultText(operation.result);
    if (!operation.destroys.empty()) {
        json["destroys"] = operation.destroys;
    }
    if (!operation.example.line.empty()) {
        json["example"] = {{"before", operation.example.before}, {"line", operation.example.line}};
    }
    return json;
}

std::string jsonText(const Json& json, int indent) {
    try {
        return json.dump(indent);
    } catch (const Json::type_error&) {
        Json valid = json;
        makeValid(valid);
        return valid.dump(indent, ' ', false, Json::error_handler_t::replace);
    }
}

Json parseJson(const std::string& text) {
    return Json::parse(text);
}

std::string jsonLine(const Json& json) {
    return jsonText(json, -1);
}

std::string displayOutcome(const Command& command, const Outcome& outcome) {
    std::string text = nameOf(command) + ": " + std::to_string(outcome.status) + " (" + command.word(outcome) + ")";
    for (const auto& [name, value] : outcome.outputs) {
        text += "\n  " + name + ":" + displayOutput(command, value);
    }
    return text + displayReasons(outcome.failedCalls);
}

void printError(const std::string& message, bool json) {
    printMessage(message);
    if (json) {
        printLine(jsonLine({{"error", message}}));
    }
}

void printWarning(const std::string& text) {
    if (!text.empty()) {
        printMessage("warning: " + text);
    }
}

void printOperations(const std::string& pattern, bool json) {
    std::string module;
    for (const Operation& operation : operations()) {
        if (operation.shortName().find(pattern) == std::string::npos) {
            continue;
        }
        if (json) {
            printLine(jsonLine(toJson(operation)));
            continue;
        }
        if (operation.module != module) {
            module = operation.module;
            printLine(module + ":");
        }
        printLine("  " + usage(operation) + "\n      " + operation.help);
    }
}

void printDescription(const std::string& name, bool json) {
    const Operation* operation = findOperation(name);
    if (operation == nullptr) {
        throw UsageError(unknownOperation(name));
    }
    printLine(json ? jsonLine(toJson(*operation)) : describe(*operation));
}

void printOutcome(const Command& command, const Outcome& outcome, bool json) {
    printLine(json ? jsonLine(toJson(command, outcome)) : displayOutcome(command, outcome));
    if (!json) {
        printRefusals(outcome);
    }
}

void printRefusals(const Outcome& outcome) {
    const auto isTold = [&](const RefusedCall& refusal) {
        return std::any_of(outcome.failedCalls.begin(), outcome.failedCalls.end(), [&](const FailedCall& call) {
            return call.name == refusal.name && call.arguments == refusal.arguments && call.result == refusal.result;
        });
    };
    std::size_t shown = 0;
    for (const RefusedCall& refusal : outcome.refusals) {
        if (refusal.contract.empty() && !isTold(refusal) && ++shown <= kShownCalls) {
            printMessage("note: " + displayRefusal(refusal));
        }
    }
    if (shown > kShownCalls) {
        printMessage("note: and " + std::to_string(shown - kShownCalls) + " more refused calls");
    }
}

void checkOutput(const Command& command, const std::string& file) {
    const std::vector<Output>& outputs =
        command.operation() != nullptr ? command.operation()->outputs : command.action()->outputs;
    const auto isBytes = [](const Output& output) { return output.isBytes; };
    if (!file.empty() && std::none_of(outputs.begin(), outputs.end(), isBytes)) {
        throw UsageError("--output: " + nameOf(command) + " answers no bytes");
    }
}

bool writeOutput(const Command& command, const Outcome& outcome, const std::string& file, bool json) {
    if (file.empty()) {
        return true;
    }
    const auto isBytes = [](const auto& output) { return std::holds_alternative<Bytes>(output.second); };
    const auto found = std::find_if(outcome.outputs.begin(), outcome.outputs.end(), isBytes);
    if (!outcome.good || found == outcome.outputs.end()) {
        printError(nameOf(command) + " has failed, " + file + " is not written", json);
        return false;
    }
    const Bytes& bytes = std::get<Bytes>(found->second);
    std::ofstream stream(file, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream.flush()) {
        printError(file + ": cannot be written: " + std::strerror(errno), json);
        return false;
    }
    return true;
}

void printUnprepared(const std::string& operation, const Outcome& outcome) {
    std::fprintf(stderr, "fapi: %s answered %lld%s\n", operation.c_str(), outcome.status, reasonOf(outcome).c_str());
}

Outcome runPrepared(const Command& command) {
    CallAnswer answer = command.run();
    for (const Unprepared& failure : answer.unprepared) {
        printUnprepared(failure.operation, failure.outcome);
    }
    return std::move(answer.outcome);
}

void printEvent(const Event& event, bool json) {
    printLine(json ? jsonLine(toJson(event)) : displayEvent(event));
}

}  // namespace tool
