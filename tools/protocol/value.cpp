// SPDX-License-Identifier: Apache-2.0
// Numbers, texts and bytes as they are typed and shown.
#include "protocol/value.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "protocol/characters.h"

namespace tool {

namespace {

constexpr char kDigits[] = "0123456789abcdef";

// Keeps a slip of the keyboard from waiting for ever.
constexpr double kLongestTime = 24 * 3600;

int hexDigit(char digit) {
    const char lower = digit >= 'A' && digit <= 'F' ? static_cast<char>(digit | 0x20) : digit;
    const auto* const found = std::char_traits<char>::find(kDigits, 16, lower);
    return found != nullptr ? static_cast<int>(found - kDigits) : -1;
}

Bytes parseHex(const std::string& word, std::size_t start) {
    Bytes bytes;
    int high = -1;
    for (std::size_t i = start; i < word.size(); ++i) {
        if (word[i] == ' ' && high < 0) {
            continue;
        }
        const int digit = hexDigit(word[i]);
        if (digit < 0) {
            throw UsageError("\"" + word + "\": '" + word[i] + "' is no hexadecimal digit");
        }
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<unsigned char>(high << 4 | digit));
            high = -1;
        }
    }
    if (high >= 0) {
        throw UsageError("\"" + word + "\": half a byte at the end");
    }
    return bytes;
}

Bytes readHostFile(const std::string& path) {
    std::error_code error;
    std::ifstream file(path, std::ios::binary);
    // Something like /dev/zero would never end.
    if (!file || !std::filesystem::is_regular_file(path, error)) {
        throw UsageError(path + ": cannot be read");
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

// "repeat:300:ab": the text so many times over.
Bytes repeatText(const std::string& word, std::size_t start) {
    constexpr long long kLimit = 16 << 20;
    const std::size_t colon = word.find(':', start);
    long long count = 0;
    if (colon == std::string::npos || !parseNumber(std::string_view(word).substr(start, colon - start), count) ||
        count < 0) {
        throw UsageError("\"" + word + "\": expected repeat:COUNT:TEXT");
    }
    const std::string_view text = std::string_view(word).substr(colon + 1);
    Bytes bytes;
    if (text.empty()) {
        return bytes;
    }
    if (count > kLimit / static_cast<long long>(text.size())) {
        throw UsageError("\"" + word + "\": more than 16 MiB");
    }
    for (long long i = 0; i < count; ++i) {
        bytes.insert(bytes.end(), text.begin(), text.end());
    }
    return bytes;
}

bool startsWith(const std::string& word, const char* prefix) {
    return word.rfind(prefix, 0) == 0;
}

}  // namespace

bool parseNumber(std::string_view text, long long& number) {
    const std::string terminated(text);
    if (terminated.empty() || terminated.find_first_not_of("+-0123456789abcdefABCDEFxX") != std::string::npos) {
        return false;
    }
    char* end = nullptr;
    errno = 0;
    const long long parsed = std::strtoll(terminated.c_str(), &end, 0);
    if (*end != '\0' || errno != 0) {
        return false;
    }
    number = parsed;
    return true;
}

bool parseTime(const std::string& word, std::chrono::milliseconds& time) {
    const std::size_t unit = word.find_first_not_of("0123456789.");
    if (unit == 0 || unit == std::string::npos || std::count(word.begin(), word.end(), '.') > 1 || unit > 12) {
        return false;
    }
    const std::string name = word.substr(unit);
    const double factor = name == "s" ? 1 : name == "ms" ? 0.001 : name == "min" ? 60 : 0;
    const double seconds = std::strtod(word.c_str(), nullptr) * factor;
    if (factor == 0 || seconds > kLongestTime) {
        return false;
    }
    time = std::chrono::milliseconds(std::llround(seconds * 1000));
    return true;
}

Bytes parseBytes(const std::string& word) {
    if (startsWith(word, "hex:")) {
        return parseHex(word, 4);
    }
    if (startsWith(word, "file:")) {
        return readHostFile(word.substr(5));
    }
    if (startsWith(word, "repeat:")) {
        return repeatText(word, 7);
    }
    const std::size_t start = startsWith(word, "text:") ? 5 : 0;
    return {word.begin() + static_cast<std::ptrdiff_t>(start), word.end()};
}

std::string hexText(const Bytes& bytes, const char* separator) {
    std::string text;
    for (const unsigned char byte : bytes) {
        if (!text.empty()) {
            text += separator;
        }
        text += {kDigits[byte >> 4], kDigits[byte & 0xF]};
    }
    return text;
}

std::string hexDump(const Bytes& bytes, std::size_t lines) {
    std::string dump;
    const std::size_t shown = std::min(bytes.size(), lines * kDumpWidth);
    for (std::size_t start = 0; start < shown; start += kDumpWidth) {
        char offset[24];
        std::snprintf(offset, sizeof(offset), "%08zx", start);
        std::string hex, text;
        for (std::size_t i = start; i < std::min(start + kDumpWidth, shown); ++i) {
            const unsigned char byte = bytes[i];
            hex += {' ', kDigits[byte >> 4], kDigits[byte & 0xF]};
            hex += i - start == kDumpWidth / 2 - 1 ? " " : "";
            text += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
        }
        hex.resize(3 * kDumpWidth + 1, ' ');
        dump.append("\n").append(offset).append(" ").append(hex).append("  |").append(text).append("|");
    }
    return dump;
}

std::string escaped(std::string_view text, bool asciiOnly) {
    std::string shown;
    while (!text.empty()) {
        const Character character = takeCharacter(text);
        if (character.code == '\n') {
            shown += "\\n";
        } else if (character.code == '"' || character.code == '\\') {
            shown.append("\\").append(character.bytes);
        } else if (character.isObeyed() || (asciiOnly && character.code > 0x7F)) {
            shown += escapedBytes(character.bytes);
        } else {
            shown += character.bytes;
        }
    }
    return shown;
}

std::string display(const Value& value, std::size_t limit) {
    if (limit == 0) {
        limit = std::string::npos;
    }
    // What is cut off is not even escaped: it may be megabytes.
    std::string shown;
    bool isCut = false;
    if (const auto* number = std::get_if<long long>(&value)) {
        shown = std::to_string(*number);
    } else if (const auto* text = std::get_if<std::string>(&value)) {
        isCut = text->size() > limit;
        shown = '"' + escaped(headOf(*text, limit), false) + (isCut ? "" : "\"");
    } else {
        const Bytes& bytes = std::get<Bytes>(value);
        isCut = bytes.size() > limit;
        shown = std::to_string(bytes.size()) + (bytes.size() == 1 ? " byte" : " bytes");
        if (!bytes.empty()) {
            shown +=
                ": " +
                hexText(isCut ? Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(limit)) : bytes, " ");
        }
    }
    return isCut || shown.size() > limit ? std::string(headOf(shown, limit)) + "..." : shown;
}

}  // namespace tool
