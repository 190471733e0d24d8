// SPDX-License-Identifier: Apache-2.0
// Colors as people write them.
#include "protocol/color.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iterator>

#include "protocol/number_list.h"
#include "protocol/value.h"

namespace tool {

namespace {

constexpr long long kDeepMax = 1023;
constexpr unsigned int kByteMax = 0xFF;

struct Name {
    const char* name;
    Color color;
};

constexpr Name kNames[] = {
    {"black", 0xFF000000}, {"blue", 0xFF0000FF},    {"cyan", 0xFF00FFFF}, {"gray", 0xFF808080},
    {"green", 0xFF00FF00}, {"magenta", 0xFFFF00FF}, {"red", 0xFFFF0000},  {"transparent", 0x00000000},
    {"white", 0xFFFFFFFF}, {"yellow", 0xFFFFFF00},
};

bool areHexDigits(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isxdigit(c) != 0; });
}

// A byte spread over ten bits: 0xFF is all of them.
unsigned int deep(unsigned char byte) {
    return (byte * static_cast<unsigned int>(kDeepMax) + kByteMax / 2) / kByteMax;
}

std::optional<DeepColor> parseDeepColor(const char* argument, const std::string& text) {
    if (text.find('/') != std::string::npos) {
        const NumberListForm form = {argument, "red/green/blue, each from 0 to 1023", 3, 1, 1, kDeepMax};
        return parseNumberList(form, text).front();
    }
    const std::optional<Color> color = parseColor(text);
    if (!color || alphaOf(*color) != kByteMax) {
        return std::nullopt;
    }
    return DeepColor{deep(redOf(*color)), deep(greenOf(*color)), deep(blueOf(*color))};
}

}  // namespace

bool beginsWithColor(std::string_view line) {
    constexpr std::size_t kFewestDigits = 3;
    const std::size_t end = std::min(line.find_first_of(" \t\r,"), line.size());
    return end > kFewestDigits && line.front() == '#' && areHexDigits(line.substr(1, end - 1));
}

std::optional<Color> parseColor(std::string_view word) {
    for (const Name& name : kNames) {
        if (word == name.name) {
            return name.color;
        }
    }
    if ((word.size() != 7 && word.size() != 9) || word.front() != '#' || !areHexDigits(word.substr(1))) {
        return std::nullopt;
    }
    const auto number = static_cast<Color>(std::stoul(std::string(word.substr(1)), nullptr, 16));
    return word.size() == 7 ? 0xFF000000 | number : (number >> 8 | number << 24);
}

std::string colorText(Color color) {
    char text[16];
    std::snprintf(text, sizeof(text), "#%06X%02X", color & 0xFFFFFF, alphaOf(color));
    return text;
}

std::vector<std::string> colorNames() {
    std::vector<std::string> names;
    for (const Name& name : kNames) {
        names.emplace_back(name.name);
    }
    return names;
}

std::string colorExpectation() {
    std::string text = "a color: #RRGGBB, #RRGGBBAA";
    for (const Name& name : kNames) {
        text += std::string(&name == std::prev(std::end(kNames)) ? " or " : ", ") + name.name;
    }
    return text;
}

std::vector<DeepColor> parseDeepColors(const char* argument, const std::string& text, std::size_t min,
                                       std::size_t max) {
    std::vector<DeepColor> colors;
    for (const std::string& piece : cutAt(text, ',')) {
        const std::optional<DeepColor> color = parseDeepColor(argument, piece);
        if (!color) {
            throw UsageError(std::string(argument) + " has " + display(piece, 40) +
                             ", expected red/green/blue, each from 0 to 1023, or an opaque color: #RRGGBB or a name");
        }
        colors.push_back(*color);
    }
    if (colors.size() < min || colors.size() > max) {
        throw UsageError(std::string(argument) + " has " + std::to_string(colors.size()) + " colors, expected " +
                         (min == max ? std::to_string(min) : std::to_string(min) + " to " + std::to_string(max)) +
                         ", with commas between them");
    }
    return colors;
}

}  // namespace tool
