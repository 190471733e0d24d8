// SPDX-License-Identifier: Apache-2.0
// What `help` describes: operations, what a person does to the set, and the language of plans.
#ifndef FAPI_BENCH_SHELL_HELP_H
#define FAPI_BENCH_SHELL_HELP_H

#include <utility>

#include "target/command.h"

namespace tool {

// Prints what is known of "sys_init", "set", "set drive", "drive" or a topic. False when that is nothing.
bool findHelp(const Words& words, bool json);

// The same. Throws UsageError for what nothing is known of, with the nearest name.
void printHelp(const Words& words, bool json);

// The names of texts on plans.
std::vector<std::string> helpTopics();

// Usages and what they are good for, in two columns or an object each.
void printUsages(const std::vector<std::pair<std::string, std::string>>& rows, bool json);

}  // namespace tool

#endif
