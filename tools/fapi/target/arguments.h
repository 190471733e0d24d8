// SPDX-License-Identifier: Apache-2.0
// Arguments of operations and actions: words checked against what the description says, and the texts of usage lines
// and help.
#ifndef FAPI_BENCH_TARGET_ARGUMENTS_H
#define FAPI_BENCH_TARGET_ARGUMENTS_H

#include <string>
#include <vector>

#include "protocol/description.h"

namespace tool {

// Whether it is checked that the arguments go together: not when some words only stand for others.
enum class Together { checked, unchecked };

// Checks the words against the row; throws UsageError that names the argument and what was expected.
std::vector<Value> parseArguments(const Operation& operation, const std::vector<std::string>& words,
                                  Together together = Together::checked);
std::vector<Value> parseWords(const std::vector<Argument>& arguments, const std::vector<std::string>& words);

// How an argument is written in usage lines, and what is expected of it.
std::string argumentName(const Argument& argument);
std::string expectation(const Argument& argument);
// The same for help, whose text may name the range already.
std::string helpExpectation(const Argument& argument);

// " PATH [LENGTH]"
std::string argumentsUsage(const std::vector<Argument>& arguments);
// What an output is, with its unit.
std::string outputHelp(const Output& output);
std::string argumentsHelp(const std::vector<Argument>& arguments, const std::vector<Output>& outputs);

// "check_file PATH"
std::string usage(const Operation& operation);
// "0 success, negative failure"
const char* resultText(Result result);
// The help of one operation, several lines, without a newline at the end.
std::string describe(const Operation& operation);

}  // namespace tool

#endif
