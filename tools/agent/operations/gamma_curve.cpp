// SPDX-License-Identifier: Apache-2.0
// Gamma curves as people write them.
#include "operations/gamma_curve.h"

#include <cmath>
#include <locale>
#include <optional>
#include <sstream>

#include "protocol/number_list.h"
#include "protocol/value.h"

namespace tool {

namespace {

constexpr long long kMost = 0xFFFF;
constexpr double kLeastExponent = 0.1, kMostExponent = 10;

// What stands behind "power:" in "power:2.2".
std::optional<std::string> behind(const std::string& text, const char* prefix) {
    const std::string start(prefix);
    return text.compare(0, start.size(), start) == 0 ? std::optional(text.substr(start.size())) : std::nullopt;
}

std::optional<unsigned short> parseEntry(const std::string& text) {
    long long number = 0;
    if (!parseNumber(text, number) || number < 0 || number > kMost) {
        return std::nullopt;
    }
    return static_cast<unsigned short>(number);
}

std::optional<GammaCurve> powerCurve(const std::string& text) {
    // A board's C++ library has no std::from_chars for fractions.
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    double exponent = 0;
    stream >> std::noskipws >> exponent;
    const bool isWhole = stream && stream.peek() == std::char_traits<char>::eof() && text.front() != '+';
    if (!isWhole || !(exponent >= kLeastExponent && exponent <= kMostExponent)) {
        return std::nullopt;
    }
    GammaCurve curve = {};
    for (std::size_t i = 0; i < curve.size(); ++i) {
        const double part = static_cast<double>(i) / static_cast<double>(curve.size() - 1);
        curve[i] = static_cast<unsigned short>(std::lround(std::pow(part, exponent) * kMost));
    }
    return curve;
}

GammaCurve listedCurve(const char* argument, const std::vector<std::string>& pieces) {
    GammaCurve curve = {};
    if (pieces.size() != curve.size()) {
        throw UsageError(std::string(argument) + " has " + std::to_string(pieces.size()) + " numbers, expected " +
                         std::to_string(curve.size()));
    }
    for (std::size_t i = 0; i < curve.size(); ++i) {
        const std::optional<unsigned short> entry = parseEntry(pieces[i]);
        if (!entry) {
            throw UsageError(std::string(argument) + ": number " + std::to_string(i + 1) + " is " +
                             display(pieces[i], 40) + ", expected one from 0 to " + std::to_string(kMost));
        }
        curve[i] = *entry;
    }
    return curve;
}

// Cut at blanks and commas.
std::vector<std::string> piecesOf(const Bytes& bytes) {
    std::vector<std::string> pieces(1);
    for (const unsigned char byte : bytes) {
        if (byte != ' ' && byte != '\t' && byte != '\r' && byte != '\n' && byte != ',') {
            pieces.back() += static_cast<char>(byte);
        } else if (!pieces.back().empty()) {
            pieces.emplace_back();
        }
    }
    if (pieces.back().empty()) {
        pieces.pop_back();
    }
    return pieces;
}

}  // namespace

GammaCurve parseGammaCurve(const char* argument, const std::string& text) {
    if (text == "linear") {
        return powerCurve("1").value();
    }
    if (behind(text, "file:")) {
        return listedCurve(argument, piecesOf(parseBytes(text)));
    }
    if (const auto exponent = behind(text, "power:")) {
        if (const std::optional<GammaCurve> curve = powerCurve(*exponent)) {
            return *curve;
        }
        throw UsageError(std::string(argument) + " is " + display(text, 40) +
                         ", expected power:EXPONENT with an exponent from 0.1 to 10");
    }
    if (const auto value = behind(text, "flat:")) {
        if (const std::optional<unsigned short> entry = parseEntry(*value)) {
            GammaCurve curve;
            curve.fill(*entry);
            return curve;
        }
        throw UsageError(std::string(argument) + " is " + display(text, 40) + ", expected flat:VALUE from 0 to " +
                         std::to_string(kMost));
    }
    if (text.find(',') != std::string::npos) {
        return listedCurve(argument, cutAt(text, ','));
    }
    throw UsageError(std::string(argument) + " is " + display(text, 40) + ", expected " + kGammaForms);
}

}  // namespace tool
