// SPDX-License-Identifier: Apache-2.0
// Bytes as base64.
#include <array>

#include "protocol/field.h"

namespace tool {

namespace {

constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char kNoDigit = 0xFF;

constexpr std::array<unsigned char, 256> valuesOfDigits() {
    std::array<unsigned char, 256> values = {};
    for (unsigned char& value : values) {
        value = kNoDigit;
    }
    for (unsigned char i = 0; i < 64; ++i) {
        values[static_cast<unsigned char>(kDigits[i])] = i;
    }
    return values;
}
constexpr std::array<unsigned char, 256> kValues = valuesOfDigits();

// The value of three bytes as four digits; of those that are missing, '='.
void writeFour(char* digits, unsigned int value, std::size_t bytes) {
    for (std::size_t i = 0; i < 4; ++i) {
        digits[i] = i <= bytes ? kDigits[value >> (18 - 6 * i) & 0x3F] : '=';
    }
}

// How many bytes the last four digits stand for.
std::size_t bytesOfLast(std::string_view text) {
    return text.substr(text.size() - 2) == "==" ? 1 : text.back() == '=' ? 2 : 3;
}

}  // namespace

std::string toBase64(const Bytes& bytes) {
    std::string text((bytes.size() + 2) / 3 * 4, '=');
    char* digits = text.data();
    const unsigned char* from = bytes.data();
    std::size_t left = bytes.size();
    for (; left >= 3; left -= 3, from += 3, digits += 4) {
        writeFour(digits, static_cast<unsigned int>(from[0] << 16 | from[1] << 8 | from[2]), 3);
    }
    if (left != 0) {
        writeFour(digits, static_cast<unsigned int>(from[0] << 16 | (left == 2 ? from[1] << 8 : 0)), left);
    }
    return text;
}

Bytes fromBase64(std::string_view text) {
    if (text.empty()) {
        return {};
    }
    if (text.size() % 4 != 0) {
        throw MessageError("base64 whose length is no multiple of 4");
    }
    const std::size_t last = bytesOfLast(text);
    Bytes bytes(text.size() / 4 * 3);
    unsigned int wrong = 0;  // has a bit above the six when a digit was none
    const auto valueOf = [&](std::size_t at) {
        const unsigned int value = kValues[static_cast<unsigned char>(text[at])];
        wrong |= value;
        return value;
    };
    unsigned char* to = bytes.data();
    const auto write = [&](unsigned int value) {
        *to++ = static_cast<unsigned char>(value >> 16);
        *to++ = static_cast<unsigned char>(value >> 8);
        *to++ = static_cast<unsigned char>(value);
    };
    std::size_t at = 0;
    for (; at + 4 < text.size(); at += 4) {
        write(valueOf(at) << 18 | valueOf(at + 1) << 12 | valueOf(at + 2) << 6 | valueOf(at + 3));
    }
    const unsigned int end = valueOf(at) << 18 | valueOf(at + 1) << 12 | (last > 1 ? valueOf(at + 2) << 6 : 0) |
                             (last > 2 ? valueOf(at + 3) : 0);
    write(end);
    bytes.resize(bytes.size() - 3 + last);
    // The bits of a last digit that belong to no byte are 0, so that bytes have one text only.
    if (wrong > 0x3F || (end & ((1u << (24 - 8 * last)) - 1)) != 0) {
        throw MessageError("wrong base64");
    }
    return bytes;
}

}  // namespace tool
