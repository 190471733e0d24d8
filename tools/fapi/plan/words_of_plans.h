// SPDX-License-Identifier: Apache-2.0
// Words that only plans know.
#ifndef FAPI_BENCH_PLAN_WORDS_OF_PLANS_H
#define FAPI_BENCH_PLAN_WORDS_OF_PLANS_H

#include <chrono>
#include <string>
#include <vector>

#include "base/words.h"

namespace tool {

// "wait TIME". Throws UsageError.
std::chrono::milliseconds parseWait(const Words& words);

// The message for a word that no line, or no option of a step, begins with: what there is in its place, or the nearest
// of those that are known.
std::string unknownPlanWord(const std::string& word, const std::vector<std::string>& known);

}  // namespace tool

#endif
