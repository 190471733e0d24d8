// SPDX-License-Identifier: Apache-2.0
// Lines of the shell and of plans, cut into words.
#ifndef FAPI_BENCH_BASE_WORDS_H
#define FAPI_BENCH_BASE_WORDS_H

#include <string>
#include <string_view>
#include <vector>

#include "protocol/value.h"

namespace tool {

using Words = std::vector<std::string>;

// Words are separated by blanks and tabs. "..." and '...' keep blanks; inside "..." a backslash escapes: \n \t \r \\ \"
// and \xNN. A # at the beginning of a word starts a comment, unless it is a color's (#FF0000). Throws
// UsageError for a quote that is not closed or an unknown escape. A word may be empty ("").
Words splitWords(std::string_view line);

// The lines of a text file, without their ends and without a byte order mark before the first.
std::vector<std::string_view> splitLines(std::string_view text);

// Where a word of the line begins, in bytes from 1; its end for a word that is missing.
std::size_t columnOf(std::string_view line, std::size_t word);
// The same for the word that the error is about.
std::size_t columnOf(std::string_view line, const UsageError& error);

// What is wrong in a file, and where.
struct Problem {
    unsigned int line;
    std::size_t column;
    std::string text;
    std::string file = {};  // empty: the one that is being read
};

// The word as splitWords would read it back.
std::string quoteWord(std::string_view word);

// "abc" for "acb": the candidate that is nearest to `word`, or an empty text when none is near. For "did you mean".
std::string nearest(std::string_view word, const std::vector<std::string>& candidates);

}  // namespace tool

#endif
