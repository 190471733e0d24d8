// SPDX-License-Identifier: Apache-2.0
// ${NAME} in the words of a plan.
#ifndef FAPI_BENCH_JUDGE_VARIABLES_H
#define FAPI_BENCH_JUDGE_VARIABLES_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "target/command.h"

namespace tool {

using Variables = std::map<std::string, Value>;

// Has a value from the beginning: the folder of the plan.
constexpr const char* kPlanFolder = "PLAN_DIR";

// The names in the ${NAME} of a word. Throws UsageError when one is not closed.
std::vector<std::string> variablesOf(std::string_view word);

// The word with the values in place of its ${NAME}. Throws UsageError when a name has no value.
std::string substitute(const std::string& word, const Variables& variables);

// The words with one that its argument accepts in place of each that holds ${NAME}, from words[first] on.
Words withAnyValues(Words words, std::size_t first, const std::vector<Argument>& arguments);

// The command of a line that holds ${NAME}, as if each had a value that fits: the rest of the line is checked, and the
// outputs are known. Throws UsageError.
Command commandWithAnyValues(const Words& words);

}  // namespace tool

#endif
