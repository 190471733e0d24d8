// SPDX-License-Identifier: Apache-2.0
// Outcomes as people and as programs read them.
#ifndef FAPI_TOOL_OUTPUT_H
#define FAPI_TOOL_OUTPUT_H

#include <nlohmann/json.hpp>

#include "command.h"
#include "event_log.h"

namespace tool {

using Json = nlohmann::ordered_json;

// A number as a number, a text as a text, bytes as {"size": n, "hex": "..."}.
Json toJson(const Value& value);
Json toJson(const Command& command, const Outcome& outcome);
Json toJson(const Event& event);
Json toJson(const Operation& operation);

// One line; bytes that are no UTF-8 are replaced.
std::string jsonLine(const Json& json);

// "sys_check_file: 0 (ok)" and an indented line for each output; texts of several lines as they stand.
std::string displayOutcome(const Command& command, const Outcome& outcome);

// Prints to dataOutput().
void printOutcome(const Command& command, const Outcome& outcome, bool json);
void printEvent(const Event& event, bool json);
void printLine(const std::string& line);

}  // namespace tool

#endif
