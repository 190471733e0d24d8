// SPDX-License-Identifier: Apache-2.0
// How messages are lines of a byte stream.
#include "protocol/framing.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

namespace tool {

namespace {

// Room for the beginning of a checked line, and for carriage returns.
constexpr std::size_t kLongestLine = kLongestMessage + 4096;
constexpr std::size_t kLongestText = 4096;
// In each line, at most so many beginnings of a message are compared with their sums: a line of nothing else would take
// hours.
constexpr int kMostTries = 16;
constexpr std::size_t kSumDigits = 8;

constexpr std::array<std::uint32_t, 256> crcTable() {
    std::array<std::uint32_t, 256> table = {};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t rest = i;
        for (int bit = 0; bit < 8; ++bit) {
            rest = (rest & 1) != 0 ? rest >> 1 ^ 0xEDB88320u : rest >> 1;
        }
        table[i] = rest;
    }
    return table;
}
constexpr std::array<std::uint32_t, 256> kCrcTable = crcTable();

std::string sumText(std::string_view object) {
    char digits[kSumDigits + 1];
    std::snprintf(digits, sizeof(digits), "%08x", static_cast<unsigned int>(crc32(object)));
    return digits;
}

// "@12 0123abcd " and the object after it, which may be damaged.
struct Checked {
    std::string_view sum;
    std::string_view object;
    std::size_t size;  // from '@' to the object's end
};

// What begins with the text's '@', when that can be a message.
std::optional<Checked> beginningOfChecked(std::string_view text) {
    std::size_t at = 1;
    std::size_t length = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9' && length <= kLongestMessage; ++at) {
        length = length * 10 + static_cast<std::size_t>(text[at] - '0');
    }
    const std::size_t sum = at + 1;
    const std::size_t object = sum + kSumDigits + 1;
    if (at == 1 || object > text.size() || text[at] != ' ' || text[object - 1] != ' ' || length > kLongestMessage) {
        return std::nullopt;
    }
    const std::string_view rest = text.substr(object, length);
    return Checked{text.substr(sum, kSumDigits), rest, rest.size() == length ? object + length : text.size() + 1};
}

bool checks(const Checked& checked, std::string_view text) {
    return checked.size <= text.size() && sumText(checked.object) == checked.sum;
}

Line lineOf(Line::Kind kind, std::string_view text) {
    return {kind, {}, std::string(text.substr(0, kLongestText))};
}

Line objectLine(std::string_view text, bool parses) {
    if (text.size() > kLongestMessage) {
        return lineOf(Line::Kind::tooLong, text);
    }
    if (!parses && !text.empty() && text.front() == '{') {
        return {Line::Kind::message, {}, std::string(text)};
    }
    try {
        Field object = parseJsonText(text);
        if (!object.isObject()) {
            return lineOf(Line::Kind::noMessage, text);
        }
        return {Line::Kind::message, std::move(object), text.size() <= kLongestText ? std::string(text) : ""};
    } catch (const MessageError&) {
        return lineOf(Line::Kind::noMessage, text);
    }
}

Line plainLine(std::string_view text, bool parses) {
    if (!text.empty() && text.front() == '@') {
        const auto checked = beginningOfChecked(text);
        if (checked && checked->size == text.size() && checks(*checked, text)) {
            return objectLine(checked->object, parses);
        }
    }
    return !text.empty() && text.front() == '{' ? objectLine(text, parses) : lineOf(Line::Kind::console, text);
}

// What is no message that checks: either it has been one, or it is console text.
void addRest(std::string_view text, bool hasBeginning, std::vector<Line>& lines) {
    const bool isDamaged = hasBeginning || text.find("\"jsonrpc\"") != std::string_view::npos;
    lines.push_back(lineOf(isDamaged ? Line::Kind::damaged : Line::Kind::console, text));
}

void checkedLines(std::string_view text, bool parses, std::vector<Line>& lines) {
    bool hasBeginning = false;  // before `at` and after the last message
    int tries = 0;
    std::size_t at = text.find('@');
    while (at != std::string_view::npos && tries < kMostTries) {
        const std::string_view rest = text.substr(at);
        const auto checked = beginningOfChecked(rest);
        if (!checked || !checks(*checked, rest)) {
            tries += checked ? 1 : 0;
            hasBeginning = hasBeginning || checked;
            at = text.find('@', at + 1);
            continue;
        }
        if (at != 0) {
            addRest(text.substr(0, at), hasBeginning, lines);
        }
        lines.push_back(objectLine(checked->object, parses));
        text = rest.substr(checked->size);
        if (text.empty()) {
            return;
        }
        hasBeginning = false;
        at = text.find('@');
    }
    addRest(text, hasBeginning, lines);
}

}  // namespace

std::uint32_t crc32(std::string_view bytes) {
    std::uint32_t sum = 0xFFFFFFFFu;
    for (const char byte : bytes) {
        sum = sum >> 8 ^ kCrcTable[(sum ^ static_cast<unsigned char>(byte)) & 0xFF];
    }
    return ~sum;
}

std::string frame(const Field& object, Framing framing) {
    return frameText(toJsonText(object, framing == Framing::checked), framing);
}

std::string frameText(std::string text, Framing framing) {
    if (text.size() > kLongestMessage) {
        throw MessageError("a message of " + std::to_string(text.size()) + " bytes is too long");
    }
    text += '\n';
    if (framing == Framing::plain) {
        return text;
    }
    const std::string_view bare(text.data(), text.size() - 1);
    return "@" + std::to_string(bare.size()) + " " + sumText(bare) + " " + text;
}

void LineReader::take(std::string_view bytes, std::vector<Line>& lines) {
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\n'), bytes.size());
        const bool ends = end != bytes.size();
        const std::string_view piece = bytes.substr(0, end);
        bytes.remove_prefix(ends ? end + 1 : end);
        if (!_dropping && _kept.size() + piece.size() > kLongestLine) {
            _kept += piece.substr(0, kLongestText);
            lines.push_back(lineOf(Line::Kind::tooLong, _kept));
            std::string().swap(_kept);
            _dropping = true;
        }
        if (_dropping) {
            _dropping = !ends;
        } else if (ends && _kept.empty()) {
            endLine(piece, lines);
        } else {
            _kept += piece;
            if (ends) {
                endLine(_kept, lines);
                _kept.clear();
            }
        }
    }
}

void LineReader::endLine(std::string_view text, std::vector<Line>& lines) {
    while (!text.empty() && text.back() == '\r') {
        text.remove_suffix(1);
    }
    if (_framing == Framing::plain) {
        lines.push_back(plainLine(text, _parses));
    } else {
        checkedLines(text, _parses, lines);
    }
}

}  // namespace tool
