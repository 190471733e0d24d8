// SPDX-License-Identifier: Apache-2.0
// Outcomes as people and as programs read them.
#ifndef FAPI_BENCH_TARGET_OUTPUT_H
#define FAPI_BENCH_TARGET_OUTPUT_H

#include <nlohmann/json.hpp>

#include "base/data_output.h"
#include "target/command.h"
#include "target/event_log.h"

namespace tool {

using Json = nlohmann::ordered_json;

// A number as a number, a text as a text, bytes as {"size": n, "hex": "..."}, and so a text that is no UTF-8.
// `limit` is how many bytes of one there are at most; a cut one tells the size of the whole.
Json toJson(const Value& value, std::size_t limit = std::string::npos);
// A list is an array.
Json toJson(const Command& command, const Outcome& outcome, std::size_t limit = std::string::npos);
// Adds "refusals" to what is told of a line, in place of those that it has; nothing without any.
void addRefusals(Json& json, const std::vector<RefusedCall>& calls);
Json toJson(const Event& event);
Json toJson(const Operation& operation);

// With "\xff" in place of bytes that are no UTF-8: names and messages may have some. On lines of their own with an
// indent, which is not negative.
std::string jsonText(const Json& json, int indent);
// Throws Json::exception.
Json parseJson(const std::string& text);
// The same in one line.
std::string jsonLine(const Json& json);

// "sys_check_file: 0 (ok)" and an indented line for each output; texts of several lines, and bytes that do not fit one,
// below the output's name.
std::string displayOutcome(const Command& command, const Outcome& outcome);

// ", because HW_GPIO_Open(pad=12) = 0xf (busy)" for the end of a message; empty when nothing is known.
std::string reasonOf(const Outcome& outcome);

// All that print do so to dataOutput().
// With a note on standard error for each refusal, for people.
void printOutcome(const Command& command, const Outcome& outcome, bool json);
// Reports that an operation which others need has failed.
void printUnprepared(const std::string& operation, const Outcome& outcome);
// Runs the command after what it needs; reports what of that has failed.
Outcome runPrepared(const Command& command);
// Prints these notes, but for calls by contract and those that are named as reasons of a failure.
void printRefusals(const Outcome& outcome);
void printEvent(const Event& event, bool json);
// Throws UsageError when the command answers no bytes that could be written to `file`. An empty name is none.
void checkOutput(const Command& command, const std::string& file);
// Writes the first bytes of the outcome to `file`, of this PC. False, and a message on standard error, when the command
// has failed or the file cannot be written.
bool writeOutput(const Command& command, const Outcome& outcome, const std::string& file, bool json);
// Usage and help of the operations whose short name holds `pattern`.
void printOperations(const std::string& pattern, bool json);
// The description of one operation. Throws UsageError for an unknown name.
void printDescription(const std::string& name, bool json);
// "fapi: ..." on standard error; programs get an object with "error" on standard output, too.
void printError(const std::string& message, bool json);
// "fapi: warning: ..." on standard error; nothing for an empty text.
void printWarning(const std::string& text);

}  // namespace tool

#endif
