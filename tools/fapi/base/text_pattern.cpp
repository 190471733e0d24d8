// SPDX-License-Identifier: Apache-2.0
// Regular expressions for the tool's own use.
#include "base/text_pattern.h"

#include <regex>

namespace tool {

struct TextPattern::Expression {
    std::regex regex;
};

TextPattern::TextPattern(const char* expression) : _expression(new Expression{std::regex(expression)}) {}

TextPattern::~TextPattern() = default;

bool TextPattern::isIn(const std::string& text) const {
    return std::regex_search(text, _expression->regex);
}

std::vector<std::string> TextPattern::match(const std::string& text) const {
    std::smatch groups;
    std::vector<std::string> found;
    if (std::regex_match(text, groups, _expression->regex)) {
        found.assign(groups.begin(), groups.end());
    }
    return found;
}

}  // namespace tool
