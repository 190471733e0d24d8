// SPDX-License-Identifier: Apache-2.0
// Characters of UTF-8: which a text has, what a terminal makes of them, and how many columns they take there.
#ifndef FAPI_PROTOCOL_CHARACTERS_H
#define FAPI_PROTOCOL_CHARACTERS_H

#include <string>
#include <string_view>

namespace tool {

// Stands for a byte that belongs to no character.
constexpr char32_t kNoCharacter = 0xFFFFFFFF;

struct Character {
    char32_t code;
    std::string_view bytes;

    // Whether a terminal would obey it rather than show it: control characters, what turns the direction of writing,
    // and bytes that are no character.
    bool isObeyed() const;
};

// The first one, which is taken off the text; that must not be empty.
Character takeCharacter(std::string_view& text);
bool isUtf8(std::string_view text);

// "\x1b\xff": the bytes.
std::string escapedBytes(std::string_view bytes);
// With "\xff" in place of each byte that belongs to no character: a text that JSON and XML take.
std::string validText(std::string_view text);

// How many columns of a terminal the text takes.
std::size_t columnsOf(std::string_view text);
// The text, or its beginning and "…" when it takes more columns.
std::string cutToColumns(std::string_view text, std::size_t columns);

// At most so many bytes of the text's beginning, and no part of a character.
std::string_view headOf(std::string_view text, std::size_t limit);
// The text, or that and "... (5000000 bytes)" when there is more.
std::string beginningOf(std::string_view text, std::size_t limit);

}  // namespace tool

#endif
