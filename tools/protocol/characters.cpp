// SPDX-License-Identifier: Apache-2.0
// Characters of UTF-8.
#include "protocol/characters.h"

#include <algorithm>
#include <clocale>
#include <cwchar>

namespace tool {

namespace {

constexpr char32_t kLast = 0x10FFFF;

bool isWithin(char32_t code, char32_t first, char32_t last) {
    return code >= first && code <= last;
}

// The first character of the text, which is not empty.
Character firstOf(std::string_view text) {
    // The first byte of a character by its length, and the least code that needs that length.
    constexpr struct {
        unsigned char mask, mark;
        char32_t least;
    } kForms[] = {{0x80, 0x00, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}};
    const Character none = {kNoCharacter, text.substr(0, 1)};
    const auto first = static_cast<unsigned char>(text.front());
    const auto* form = std::find_if(std::begin(kForms), std::end(kForms),
                                    [&](const auto& candidate) { return (first & candidate.mask) == candidate.mark; });
    const std::size_t length = static_cast<std::size_t>(form - kForms) + 1;
    if (form == std::end(kForms) || length > text.size()) {
        return none;
    }
    char32_t code = first & ~form->mask & 0xFFu;
    for (const char c : text.substr(1, length - 1)) {
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
            return none;
        }
        code = code << 6 | (static_cast<unsigned char>(c) & 0x3Fu);
    }
    const bool isGood = code >= form->least && code <= kLast && !isWithin(code, 0xD800, 0xDFFF);
    return isGood ? Character{code, text.substr(0, length)} : none;
}

// The C library knows the width of characters, in a locale that has them. Only this thread's is changed, and only
// while one of these lives.
class WideLocale {
public:
    WideLocale() : _before(uselocale(locale())) {}
    ~WideLocale() { uselocale(_before); }
    WideLocale(const WideLocale&) = delete;
    WideLocale& operator=(const WideLocale&) = delete;

private:
    // Null, which uselocale() takes for "as it is", on a system without one.
    static locale_t locale() {
        static const locale_t kept = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return kept;
    }

    const locale_t _before;
};

std::size_t columnsOf(const Character& character) {
    if (character.code < 0x80 || character.code == kNoCharacter) {
        return 1;
    }
    const int columns = wcwidth(static_cast<wchar_t>(character.code));
    return columns >= 0 ? static_cast<std::size_t>(columns) : 1;
}

}  // namespace

bool Character::isObeyed() const {
    return code < 0x20 || isWithin(code, 0x7F, 0x9F) || code == 0x61C || isWithin(code, 0x200E, 0x200F) ||
           isWithin(code, 0x2028, 0x202E) || isWithin(code, 0x2066, 0x2069) || code == kNoCharacter;
}

Character takeCharacter(std::string_view& text) {
    const Character character = firstOf(text);
    text.remove_prefix(character.bytes.size());
    return character;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        if (takeCharacter(text).code == kNoCharacter) {
            return false;
        }
    }
    return true;
}

std::string escapedBytes(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string shown;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        shown += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
    }
    return shown;
}

std::string validText(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const Character character = takeCharacter(text);
        shown += character.code == kNoCharacter ? escapedBytes(character.bytes) : std::string(character.bytes);
    }
    return shown;
}

std::size_t columnsOf(std::string_view text) {
    const WideLocale wide;
    std::size_t columns = 0;
    while (!text.empty()) {
        columns += columnsOf(takeCharacter(text));
    }
    return columns;
}

std::string cutToColumns(std::string_view text, std::size_t columns) {
    if (columnsOf(text) <= columns) {
        return std::string(text);
    }
    const WideLocale wide;
    std::string shown;
    std::size_t taken = 1;  // by what stands for the rest
    while (!text.empty()) {
        const Character character = takeCharacter(text);
        taken += columnsOf(character);
        if (taken > columns) {
            break;
        }
        shown += character.bytes;
    }
    return columns == 0 ? "" : shown + "…";
}

std::string_view headOf(std::string_view text, std::size_t limit) {
    std::size_t end = std::min(limit, text.size());
    while (end != 0 && end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
        --end;
    }
    return text.substr(0, end);
}

std::string beginningOf(std::string_view text, std::size_t limit) {
    return text.size() <= limit ? std::string(text)
                                : std::string(headOf(text, limit)) + "... (" + std::to_string(text.size()) + " bytes)";
}

}  // namespace tool
