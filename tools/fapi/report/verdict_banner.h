// SPDX-License-Identifier: Apache-2.0
// The verdict of a run, to be read from afar.
#ifndef FAPI_BENCH_REPORT_VERDICT_BANNER_H
#define FAPI_BENCH_REPORT_VERDICT_BANNER_H

#include <string>

#include "plan/plan.h"

namespace tool {

const char* colorOf(Verdict verdict);

// The word in letters of five lines, each line with its newline. Empty when it would be wider than `columns`.
std::string largeLetters(const std::string& word, std::size_t columns);

// The last line of a run or of several: the word, alone. With colors a bar as wide as the terminal is around it, and
// large letters are above it.
void printVerdict(Verdict verdict);
// The same for a failure that somebody lets pass.
void printWaived();

}  // namespace tool

#endif
