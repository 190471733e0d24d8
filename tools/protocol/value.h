// SPDX-License-Identifier: Apache-2.0
// What goes into an operation and comes out of it: a number, a text or bytes.
#ifndef FAPI_PROTOCOL_VALUE_H
#define FAPI_PROTOCOL_VALUE_H

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tool {

using Bytes = std::vector<unsigned char>;
using Value = std::variant<long long, std::string, Bytes>;

// A wrong word from the user: one line that says which word, and what was expected. Nothing has been called.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const std::string& text, std::optional<std::size_t> word = std::nullopt)
        : std::runtime_error(text), _word(word) {}

    // Which of the words that were looked at is wrong, their number for one that is missing; nothing when it is the
    // line as a whole.
    std::optional<std::size_t> word() const { return _word; }
    // The same error for a line in which `before` words stand in front of those that were looked at.
    UsageError behind(std::size_t before, const std::string& text) const {
        return UsageError(text, _word ? std::optional(*_word + before) : std::nullopt);
    }

private:
    std::optional<std::size_t> _word;
};

// Decimal, 0x hexadecimal or 0 octal, with sign. False when the text is no number or does not fit.
bool parseNumber(std::string_view text, long long& number);

// "200ms", "1.5s" or "10min", at most a day. False when the text is no such time.
bool parseTime(const std::string& text, std::chrono::milliseconds& time);

// "text:..." as it stands, "hex:01 02ff", "repeat:300:ab", "file:PATH" (of this PC), anything else as text. Throws
// UsageError.
Bytes parseBytes(const std::string& word);

// "0102ff" with the separator between the bytes.
std::string hexText(const Bytes& bytes, const char* separator);

// How many bytes a line of hexDump() shows.
constexpr std::size_t kDumpWidth = 16;

// The first `lines` lines of them: offset, bytes and text, each with a newline before it.
std::string hexDump(const Bytes& bytes, std::size_t lines);

// With \n, \" and \x1b for what a terminal would obey, bytes that are no UTF-8 included; with `asciiOnly` also for
// every other byte above 0x7f.
std::string escaped(std::string_view text, bool asciiOnly);

// As a person reads it: 42, "text" with \n and \x1b escapes, 4 bytes: 01 02 03 04. Cut to `limit` characters when that
// is not 0.
std::string display(const Value& value, std::size_t limit = 0);

}  // namespace tool

#endif
