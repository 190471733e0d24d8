// SPDX-License-Identifier: Apache-2.0
// Decimal numbers, as people write and read them.
#ifndef FAPI_BENCH_BASE_DECIMAL_H
#define FAPI_BENCH_BASE_DECIMAL_H

#include <string>
#include <string_view>

namespace tool {

// Reads "4.75", "-1e3" or what parseNumber() reads. False for anything else, infinity and what is no number included.
bool parseDecimal(std::string_view text, double& number);

// The number without what binary fractions add to a product: 3 times 0.1 is 0.3.
double withoutNoise(double number);

// "5.0304": as many digits as make a difference.
std::string decimalText(double number);

}  // namespace tool

#endif
