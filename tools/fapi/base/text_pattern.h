// SPDX-License-Identifier: Apache-2.0
// Regular expressions for the tool's own use, compiled into one source: their templates take seconds to compile.
#ifndef FAPI_BENCH_BASE_TEXT_PATTERN_H
#define FAPI_BENCH_BASE_TEXT_PATTERN_H

#include <memory>
#include <string>
#include <vector>

namespace tool {

// A regular expression (ECMAScript) that is known to be valid.
class TextPattern {
public:
    explicit TextPattern(const char* expression);
    ~TextPattern();
    TextPattern(const TextPattern&) = delete;
    TextPattern& operator=(const TextPattern&) = delete;

    // Returns whether it is found in the text.
    bool isIn(const std::string& text) const;
    // Matches the whole text. Returns the text and its groups; nothing when it does not match.
    std::vector<std::string> match(const std::string& text) const;

private:
    struct Expression;
    const std::unique_ptr<Expression> _expression;
};

}  // namespace tool

#endif
