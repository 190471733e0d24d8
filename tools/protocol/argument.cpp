// SPDX-License-Identifier: Apache-2.0
// What an argument takes.
#include "protocol/argument.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "protocol/color.h"

namespace tool {

namespace {

constexpr std::pair<const char*, long long> kFlagWords[] = {{"1", 1}, {"on", 1},  {"true", 1},  {"yes", 1},
                                                            {"0", 0}, {"off", 0}, {"false", 0}, {"no", 0}};

bool isInRange(const Argument& argument, long long number) {
    return number >= argument.min && number <= argument.max;
}

}  // namespace

std::optional<long long> numberFor(const Argument& argument, const std::string& word) {
    if (argument.kind == Kind::flag) {
        const auto found = std::find_if(std::begin(kFlagWords), std::end(kFlagWords),
                                        [&](const auto& row) { return word == row.first; });
        return found != std::end(kFlagWords) ? std::optional(found->second) : std::nullopt;
    }
    if (argument.kind == Kind::color) {
        const std::optional<Color> color = parseColor(word);
        return color ? std::optional(static_cast<long long>(*color)) : std::nullopt;
    }
    for (const Choice& choice : argument.choices) {
        if (word == choice.name) {
            return choice.value;
        }
    }
    long long number = 0;
    return parseNumber(word, number) ? std::optional(number) : std::nullopt;
}

bool takes(const Argument& argument, long long number) {
    switch (argument.kind) {
        case Kind::number:
            return isInRange(argument, number);
        case Kind::flag:
            return number == 0 || number == 1;
        case Kind::choice:
            return (argument.max != 0 && isInRange(argument, number)) ||
                   std::any_of(argument.choices.begin(), argument.choices.end(),
                               [number](const Choice& choice) { return choice.value == number; });
        default:
            return true;
    }
}

bool takes(const Argument& argument, const std::string& text) {
    return text.find('\0') == std::string::npos &&
           (argument.max == 0 || text.size() <= static_cast<std::size_t>(argument.max));
}

bool takes(const Argument& argument, const Bytes& bytes) {
    const auto size = static_cast<long long>(bytes.size());
    return size >= argument.min && (argument.max == 0 || size <= argument.max);
}

}  // namespace tool
