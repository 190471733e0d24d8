// SPDX-License-Identifier: Apache-2.0
// Decimal numbers, as people write and read them.
#include "base/decimal.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "protocol/value.h"

namespace tool {

namespace {

// More decimal digits than these are not kept by a number of this kind.
constexpr int kDigits = 15;

}  // namespace

bool parseDecimal(std::string_view text, double& number) {
    long long whole = 0;
    if (parseNumber(text, whole)) {
        number = static_cast<double>(whole);
        return true;
    }
    const std::string_view digits = text.substr(!text.empty() && text.front() == '+' ? 1 : 0);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return error == std::errc() && end == digits.data() + digits.size() && std::isfinite(number);
}

double withoutNoise(double number) {
    return std::strtod(decimalText(number).c_str(), nullptr);
}

std::string decimalText(double number) {
    char text[40];
    std::snprintf(text, sizeof(text), "%.*g", kDigits, number);
    return text;
}

}  // namespace tool
