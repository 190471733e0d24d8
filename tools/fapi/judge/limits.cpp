// SPDX-License-Identifier: Apache-2.0
// What measurements may be, by name.
#include "judge/limits.h"

#include <fstream>
#include <iterator>

#include "base/decimal.h"
#include "base/words.h"
#include "protocol/sha256.h"

namespace tool {

namespace {

constexpr char kOpenEnd[] = "-";

// "1,2,3"
std::vector<std::optional<double>> parseEnds(const std::string& word, const char* name, std::size_t place) {
    std::vector<std::optional<double>> ends;
    for (std::size_t start = 0; start <= word.size();) {
        const std::size_t comma = std::min(word.find(',', start), word.size());
        const std::string text = word.substr(start, comma - start);
        double number = 0;
        if (text != kOpenEnd && !parseDecimal(text, number)) {
            throw UsageError(std::string(name) + " is " + display(word, 40) +
                                 ", expected a number, - for an open end, or a list like 1,2,3",
                             place);
        }
        ends.push_back(text == kOpenEnd ? std::nullopt : std::optional(number));
        start = comma + 1;
    }
    return ends;
}

Limit parseLimit(const Words& words) {
    if (words.size() != 3 && words.size() != 4) {
        throw UsageError("expected: NAME LOW HIGH [UNIT]", std::min<std::size_t>(words.size(), 4));
    }
    const std::vector<std::optional<double>> lows = parseEnds(words[1], "LOW", 1);
    const std::vector<std::optional<double>> highs = parseEnds(words[2], "HIGH", 2);
    if (lows.size() != highs.size()) {
        throw UsageError(
            "LOW has " + std::to_string(lows.size()) + " values, and HIGH has " + std::to_string(highs.size()), 2);
    }
    Limit limit;
    limit.unit = words.size() == 4 ? words[3] : "";
    limit.isList = lows.size() > 1;
    for (std::size_t i = 0; i < lows.size(); ++i) {
        if (lows[i] && highs[i] && *lows[i] > *highs[i]) {
            throw UsageError(boundsText({lows[i], highs[i]}) + ": the low end is above the high one", 1);
        }
        if (!lows[i] && !highs[i] && !limit.isList) {
            throw UsageError(words[0] + " has no end that a value could be beyond", 1);
        }
        limit.bounds.push_back({lows[i], highs[i]});
    }
    return limit;
}

}  // namespace

std::string boundsText(const Bounds& bounds) {
    if (bounds.low && bounds.high) {
        return decimalText(*bounds.low) + ".." + decimalText(*bounds.high);
    }
    return bounds.low    ? "at least " + decimalText(*bounds.low)
           : bounds.high ? "at most " + decimalText(*bounds.high)
                         : "any number";
}

const Limit& Limits::at(const std::string& name) const {
    const auto found = byName.find(name);
    if (found != byName.end()) {
        return found->second;
    }
    std::vector<std::string> names;
    for (const auto& [known, limit] : byName) {
        names.push_back(known);
    }
    const std::string near = nearest(name, names);
    throw UsageError("no such limits: " + display(name, 40) + (near.empty() ? "" : ", did you mean " + near + "?"));
}

Limits parseLimits(std::string_view text, const std::string& file) {
    Limits limits;
    Sha256 sum;
    sum.add(text.data(), text.size());
    limits.file = file;
    limits.hash = sum.sum();
    unsigned int number = 0;
    for (const std::string_view line : splitLines(text)) {
        ++number;
        try {
            const Words words = splitWords(line);
            if (!words.empty() && !limits.byName.emplace(words[0], parseLimit(words)).second) {
                throw UsageError("there are limits " + display(words[0], 40) + " already", 0);
            }
        } catch (const UsageError& error) {
            throw UsageError(file + ":" + std::to_string(number) + ":" + std::to_string(columnOf(line, error)) + ": " +
                             error.what());
        }
    }
    return limits;
}

Limits readLimits(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(stream), {});
    if (!stream) {
        throw UsageError(file + ": cannot be read");
    }
    return parseLimits(text, file);
}

}  // namespace tool
