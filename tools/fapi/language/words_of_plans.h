// SPDX-License-Identifier: Apache-2.0
// Words that only plans know.
#ifndef FAPI_BENCH_LANGUAGE_WORDS_OF_PLANS_H
#define FAPI_BENCH_LANGUAGE_WORDS_OF_PLANS_H

#include <chrono>
#include <string>
#include <vector>

#include "base/words.h"

namespace tool {

// "wait TIME". Throws UsageError.
std::chrono::milliseconds parseWait(const Words& words);

// Reads the time behind a word like "within": words[i]. Throws UsageError.
std::chrono::milliseconds parseTimeAt(const Words& words, std::size_t i);
// "1500ms", "5s", "3min"
std::string timeText(std::chrono::milliseconds time);

// The message for a word that no line, or no option of a step, begins with: what there is in its place, or the nearest
// of those that are known.
std::string unknownPlanWord(const std::string& word, const std::vector<std::string>& known);

}  // namespace tool

#endif
