// SPDX-License-Identifier: Apache-2.0
// Variables of a boot environment as lines of text.
#include "base/env_text.h"

#include <algorithm>

#include "base/words.h"

namespace tool {

namespace {

std::string hexEscape(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return "\\x" + hexText({byte}, "");
}

// A character of several bytes: what its first one looks like, and the least number that needs so many.
struct Utf8Form {
    unsigned char mask, lead;
    std::size_t length;
    char32_t least;
};
constexpr Utf8Form kUtf8Forms[] = {{0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

// Characters that a terminal obeys or that turn the writing direction, and what is no character.
struct Range {
    char32_t first, last;
};
constexpr Range kObeyed[] = {{0x80, 0x9F},     {0x200E, 0x200F}, {0x2028, 0x202E},
                             {0x2066, 0x2069}, {0xD800, 0xDFFF}, {0x110000, 0x1FFFFF}};

// How many bytes at the beginning of the text are one character that can be shown as it is; 0: none.
std::size_t shownLength(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80) {
        return first >= ' ' && first != 0x7F ? 1 : 0;
    }
    for (const Utf8Form& form : kUtf8Forms) {
        if ((first & form.mask) != form.lead || text.size() < form.length) {
            continue;
        }
        char32_t character = static_cast<unsigned char>(first & ~form.mask);
        for (const char c : text.substr(1, form.length - 1)) {
            if ((c & 0xC0) != 0x80) {
                return 0;
            }
            character = character << 6 | (c & 0x3F);
        }
        const bool obeyed = std::any_of(std::begin(kObeyed), std::end(kObeyed), [&](const Range& range) {
            return character >= range.first && character <= range.last;
        });
        return character >= form.least && !obeyed ? form.length : 0;
    }
    return 0;
}

// Throws UsageError without the line's place.
std::string unescapeText(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            plain += text[i];
            continue;
        }
        const char kind = ++i < text.size() ? text[i] : '\0';
        const Bytes byte =
            kind == 'x' && i + 2 < text.size() ? parseBytes("hex:" + std::string(text.substr(i + 1, 2))) : Bytes();
        if (byte.size() == 1) {
            plain += static_cast<char>(byte[0]);
            i += 2;
        } else if (kind == '\\' || kind == 'n') {
            plain += kind == 'n' ? '\n' : kind;
        } else {
            throw UsageError("unknown escape " + escapeText(text.substr(i - 1, 2)) + ", expected \\\\, \\n or \\xNN");
        }
    }
    return plain;
}

void addLine(EnvVariables& variables, std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        throw UsageError("expected NAME=VALUE");
    }
    const std::string name = unescapeText(line.substr(0, equals));
    const std::string value = unescapeText(line.substr(equals + 1));
    checkVariable(name, value);
    if (findVariable(variables, name) != nullptr) {
        throw UsageError(escapeText(name) + " is there already");
    }
    variables.emplace_back(name, value);
}

}  // namespace

std::string escapeText(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t length = shownLength(text);
        if (text[0] == '\\' || text[0] == '\n') {
            shown += text[0] == '\n' ? "\\n" : "\\\\";
        } else {
            shown += length != 0 ? std::string(text.substr(0, length)) : hexEscape(text[0]);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return shown;
}

std::string variableLine(const std::string& name, const std::string& value) {
    const std::string line = escapeText(name) + "=" + escapeText(value);
    return line[0] == '#' ? hexEscape('#') + line.substr(1) : line;
}

std::string changeLine(const EnvChange& change) {
    if (change.before && change.after) {
        return "~ " + escapeText(change.name) + ": " + escapeText(*change.before) + " -> " + escapeText(*change.after);
    }
    return change.after ? "+ " + variableLine(change.name, *change.after)
                        : "- " + variableLine(change.name, *change.before);
}

EnvVariables parseVariables(std::string_view text, const std::string& file) {
    EnvVariables variables;
    std::size_t number = 0;
    for (std::string_view line : splitLines(text)) {
        ++number;
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        if (line.empty() || line[0] == '#') {
            continue;
        }
        try {
            addLine(variables, line);
        } catch (const UsageError& error) {
            throw UsageError(file + ":" + std::to_string(number) + ": " + error.what());
        }
    }
    return variables;
}

}  // namespace tool
