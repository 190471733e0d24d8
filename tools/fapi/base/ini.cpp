// SPDX-License-Identifier: Apache-2.0
// Files of sections and entries.
#include "base/ini.h"

namespace tool {

namespace {

constexpr std::string_view kIniBlanks = " \t\r";

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kIniBlanks);
    return begin == std::string_view::npos ? std::string_view()
                                           : text.substr(begin, text.find_last_not_of(kIniBlanks) - begin + 1);
}

// "[target bench]"
IniSection sectionOf(std::string_view text, unsigned int line) {
    if (text.back() != ']') {
        throw UsageError("a section is [NAME] or [KIND NAME]", 0);
    }
    const Words words = splitWords(text.substr(1, text.size() - 2));
    if (words.empty() || words.size() > 2) {
        throw UsageError("a section is [NAME] or [KIND NAME]", 0);
    }
    return {line, words[0], words.size() == 2 ? words[1] : "", {}};
}

IniEntry entryOf(std::string_view whole, unsigned int line) {
    const std::size_t equals = whole.find('=');
    if (equals == std::string_view::npos || trimmed(whole.substr(0, equals)).empty()) {
        throw UsageError("expected: KEY = VALUE, or [SECTION]", 0);
    }
    const std::string_view value = trimmed(whole.substr(equals + 1));
    const auto column = value.empty() ? whole.size() + 1 : static_cast<std::size_t>(value.data() - whole.data()) + 1;
    return {line, std::string(trimmed(whole.substr(0, equals))), splitWords(value), column, value};
}

}  // namespace

std::vector<IniSection> parseIni(std::string_view text, std::vector<Problem>& problems) {
    std::vector<IniSection> sections;
    unsigned int number = 0;
    for (const std::string_view whole : splitLines(text)) {
        ++number;
        const std::string_view line = trimmed(whole);
        if (line.empty() || line.front() == '#' || line.front() == ';') {
            continue;
        }
        try {
            if (line.front() == '[') {
                sections.push_back(sectionOf(line, number));
            } else if (sections.empty()) {
                throw UsageError("an entry before the first section", 0);
            } else {
                sections.back().entries.push_back(entryOf(whole, number));
            }
        } catch (const UsageError& error) {
            problems.push_back({number, columnOf(whole, error), error.what()});
        }
    }
    return sections;
}

}  // namespace tool
