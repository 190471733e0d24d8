// SPDX-License-Identifier: Apache-2.0
// Gamma curves as people write them.
#ifndef FAPI_AGENT_OPERATIONS_GAMMA_CURVE_H
#define FAPI_AGENT_OPERATIONS_GAMMA_CURVE_H

#include <array>
#include <string>

namespace tool {

using GammaCurve = std::array<unsigned short, 256>;

// "linear", "power:2.2", "flat:512", "file:PATH" (of this PC: 256 numbers with blanks or commas between them) or 256
// numbers with commas between them. Throws UsageError that names the argument.
GammaCurve parseGammaCurve(const char* argument, const std::string& text);

// What is expected, for help and messages.
constexpr const char* kGammaForms =
    "linear, power:EXPONENT (0.1 to 10), flat:VALUE (0 to 65535), file:PATH or 256 numbers with commas";

}  // namespace tool

#endif
