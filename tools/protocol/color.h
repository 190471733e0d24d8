// SPDX-License-Identifier: Apache-2.0
// Colors as people write them.
#ifndef FAPI_PROTOCOL_COLOR_H
#define FAPI_PROTOCOL_COLOR_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// As the set's pictures have them: 0xAARRGGBB.
using Color = std::uint32_t;

constexpr unsigned char alphaOf(Color color) {
    return static_cast<unsigned char>(color >> 24);
}
constexpr unsigned char redOf(Color color) {
    return static_cast<unsigned char>(color >> 16);
}
constexpr unsigned char greenOf(Color color) {
    return static_cast<unsigned char>(color >> 8);
}
constexpr unsigned char blueOf(Color color) {
    return static_cast<unsigned char>(color);
}

// "#RRGGBB", which is opaque, "#RRGGBBAA" or a name; nothing for any other word.
std::optional<Color> parseColor(std::string_view word);

// "#RRGGBBAA"
std::string colorText(Color color);

// The names, and what a message says is expected.
std::vector<std::string> colorNames();
std::string colorExpectation();

// Whether the line begins with what is meant as a color: '#', three or more hexadecimal digits, and then a blank, a
// comma or nothing. A slip in a color is to be told and not to be taken for a comment.
bool beginsWithColor(std::string_view line);

// Red, green and blue from 0 to 1023, as the video path takes them.
using DeepColor = std::array<unsigned int, 3>;

// "#FF0000,1023/0/0,blue": colors, of which a transparent one is none. Throws UsageError that names the argument.
std::vector<DeepColor> parseDeepColors(const char* argument, const std::string& text, std::size_t min, std::size_t max);

// "1023/0/0"
template <class Numbers>
std::string deepColorText(const Numbers& color) {
    return std::to_string(color[0]) + '/' + std::to_string(color[1]) + '/' + std::to_string(color[2]);
}

}  // namespace tool

#endif
