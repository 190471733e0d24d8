// SPDX-License-Identifier: Apache-2.0
// Measurements: how they are read, and how values are judged by them.
#include "judge/measure.h"

#include <algorithm>
#include <cmath>

#include "base/decimal.h"

namespace tool {

namespace {

constexpr std::size_t kFirstOption = 4;  // after: measure NAME = OUTPUT
const Words kLimitWords = {"in", "at", "nominal", "limits"};
const Words kOptionWords = {"scale", "offset", "margin"};

bool isOneOf(const Words& known, const std::string& word) {
    return std::count(known.begin(), known.end(), word) != 0;
}

// Reads the words of a "measure" from left to right.
class MeasureReader {
public:
    explicit MeasureReader(const Words& words) : _words(words) {}

    Measure read() {
        if (_words.size() <= kFirstOption || _words[1].empty() || _words[2] != "=") {
            const bool isEqualMissing = _words.size() > 2 && !_words[1].empty();
            throw UsageError(
                "expected: measure NAME = OUTPUT [scale K [UNIT]] [offset K] "
                "in A..B | at least A | at most B | nominal N within P% | limits NAME",
                isEqualMissing && _words[2] != "=" ? 2 : _words.size());
        }
        _measure.name = _words[1];
        _measure.subject = _words[3];
        for (_next = kFirstOption; _next < _words.size();) {
            readPart();
        }
        if (!_hasLimits) {
            throw UsageError(
                "the limits are missing, expected: in A..B, at least A, at most B, nominal N within P% "
                "or limits NAME",
                _words.size());
        }
        if (_measure.limits.empty()) {
            checkMargin(_measure, _measure.own, _marginPlace);
        }
        return _measure;
    }

    static void checkMargin(const Measure& measure, const Limit& limit, std::optional<std::size_t> place) {
        for (const Bounds& bounds : limit.bounds) {
            if (bounds.low && bounds.high && withoutNoise((*bounds.high - *bounds.low) / 2) < measure.margin) {
                throw UsageError("margin " + decimalText(measure.margin) + ": every number in " + boundsText(bounds) +
                                     " is nearer than that to an end",
                                 place);
            }
        }
    }

private:
    void readPart() {
        const std::string& word = _words[_next];
        if (isOneOf(kLimitWords, word)) {
            if (_hasLimits) {
                throw UsageError("there are limits already", _next);
            }
            _hasLimits = true;
            readLimit(word);
        } else if (isOneOf(kOptionWords, word)) {
            if (word != "margin" && _hasLimits) {
                throw UsageError(word + " stands before the limits, which are in its unit", _next);
            }
            readOption(word);
        } else {
            Words known = kLimitWords;
            known.insert(known.end(), kOptionWords.begin(), kOptionWords.end());
            const std::string near = nearest(word, known);
            throw UsageError(display(word, 40) + ": expected scale, offset, in, at, nominal, limits or margin" +
                                 (near.empty() ? "" : "; did you mean " + near + "?"),
                             _next);
        }
    }

    void readOption(const std::string& word) {
        if (word == "margin") {
            _measure.margin = numberAfter("margin");
            _marginPlace = _next - 1;
            if (_measure.margin < 0) {
                throw UsageError("margin: expected a number of at least 0", _next - 1);
            }
        } else if (word == "offset") {
            _measure.offset = numberAfter("offset");
        } else {
            _measure.scale = numberAfter("scale");
            if (_measure.scale == 0) {
                throw UsageError("scale 0 makes every value the same", _next - 1);
            }
            const bool isUnit =
                _next < _words.size() && !isOneOf(kLimitWords, _words[_next]) && !isOneOf(kOptionWords, _words[_next]);
            _measure.unit = isUnit ? _words[_next++] : "";
        }
    }

    void readLimit(const std::string& word) {
        Bounds bounds;
        if (word == "limits") {
            _measure.limits = wordAfter("limits", "the name of limits");
            return;
        }
        if (word == "in") {
            readRange(bounds);
        } else if (word == "at") {
            const std::string side = wordAfter("at", "least or most");
            if (side != "least" && side != "most") {
                throw UsageError("at " + display(side, 40) + ": expected at least or at most", _next - 1);
            }
            --_next;
            (side == "least" ? bounds.low : bounds.high) = numberAfter("at " + side);
        } else {
            readNominal(bounds);
        }
        _measure.own.bounds = {bounds};
    }

    void readRange(Bounds& bounds) {
        const std::string range = wordAfter("in", "a range like 4.75..5.25");
        const std::size_t dots = range.find("..");
        double low = 0, high = 0;
        if (dots == std::string::npos || !parseDecimal(range.substr(0, dots), low) ||
            !parseDecimal(range.substr(dots + 2), high) || low > high) {
            throw UsageError(display(range, 40) + ": expected a range like 4.75..5.25", _next - 1);
        }
        bounds = {low, high};
    }

    // "nominal N within P%"
    void readNominal(Bounds& bounds) {
        const double nominal = numberAfter("nominal");
        if (_next >= _words.size() || _words[_next] != "within") {
            throw UsageError("expected: nominal N within P%", _next);
        }
        std::string percent = wordAfter("within", "percent like 5%");
        double share = 0;
        const bool hasSign = !percent.empty() && percent.back() == '%';
        if (!hasSign || !parseDecimal(percent.substr(0, percent.size() - 1), share) || share < 0) {
            throw UsageError("within is " + display(percent, 40) + ", expected percent like 5%", _next - 1);
        }
        const double distance = std::abs(nominal) * share / 100;
        bounds = {withoutNoise(nominal - distance), withoutNoise(nominal + distance)};
    }

    // The word after the present one, which then is the present one's follower.
    std::string wordAfter(const std::string& what, const std::string& expected) {
        if (_next + 1 >= _words.size()) {
            throw UsageError(what + ": expected " + expected, _words.size());
        }
        _next += 2;
        return _words[_next - 1];
    }

    double numberAfter(const std::string& what) {
        const std::string word = wordAfter(what, "a number");
        double number = 0;
        if (!parseDecimal(word, number)) {
            throw UsageError(what + " is " + display(word, 40) + ", expected a number", _next - 1);
        }
        return number;
    }

    const Words& _words;
    std::size_t _next = 0;
    Measure _measure;
    bool _hasLimits = false;
    std::optional<std::size_t> _marginPlace;
};

// The numbers of a value: of a text those between blanks, commas and semicolons. None when anything is no number.
std::vector<double> numbersOf(const Value& value) {
    if (const auto* whole = std::get_if<long long>(&value)) {
        return {static_cast<double>(*whole)};
    }
    if (const auto* bytes = std::get_if<Bytes>(&value)) {
        return {bytes->begin(), bytes->end()};
    }
    const auto& text = std::get<std::string>(value);
    std::vector<double> numbers;
    constexpr char kBetween[] = " \t\r\n,;";
    for (std::size_t start = text.find_first_not_of(kBetween); start != std::string::npos;) {
        const std::size_t end = std::min(text.find_first_of(kBetween, start), text.size());
        double number = 0;
        if (!parseDecimal(std::string_view(text).substr(start, end - start), number)) {
            return {};
        }
        numbers.push_back(number);
        start = text.find_first_not_of(kBetween, end);
    }
    return numbers;
}

Judgement judgeNumber(const Measure& measure, const std::string& name, double value, const Bounds& bounds,
                      const std::string& unit) {
    const std::string seen = name + " is " + decimalText(value) + unit;
    if ((bounds.low && value < *bounds.low) || (bounds.high && value > *bounds.high)) {
        return {Verdict::failed, seen + ", expected " + boundsText(bounds) + unit};
    }
    const auto isNear = [&](const std::optional<double>& end) {
        return end && withoutNoise(std::abs(value - *end)) < measure.margin;
    };
    if (isNear(bounds.low) || isNear(bounds.high)) {
        return {Verdict::marginal, seen + ", nearer than " + decimalText(measure.margin) + unit + " to an end of " +
                                       boundsText(bounds) + unit};
    }
    return {};
}

// The worst verdict, and the first text of that.
Judgement judgeNumbers(const Measure& measure, const Measured& measured) {
    const std::string unit = measured.unit.empty() ? "" : " " + measured.unit;
    const std::vector<Bounds>& bounds = measured.allowed.bounds;
    Judgement worst;
    for (std::size_t i = 0; i < measured.values.size(); ++i) {
        const bool isOne = measured.values.size() == 1 && !measured.allowed.isList;
        const std::string name = isOne ? measure.name : measure.name + "[" + std::to_string(i) + "]";
        const Judgement judgement =
            judgeNumber(measure, name, measured.values[i], bounds[measured.allowed.isList ? i : 0], unit);
        worst = judgement.verdict > worst.verdict ? judgement : worst;
    }
    return worst;
}

}  // namespace

Measure parseMeasure(const Words& words) {
    return MeasureReader(words).read();
}

void checkLimits(const Measure& measure, const Limits& limits) {
    if (measure.limits.empty()) {
        return;
    }
    const Limit& limit = limits.at(measure.limits);
    if (!measure.unit.empty() && !limit.unit.empty() && measure.unit != limit.unit) {
        throw UsageError("the limits " + measure.limits + " are in " + limit.unit + ", and the measurement in " +
                         measure.unit);
    }
    MeasureReader::checkMargin(measure, limit, std::nullopt);
}

Measured judge(const Measure& measure, const Value* value, const std::string& missing, const Limits& limits) {
    Measured measured;
    measured.allowed = measure.limits.empty() ? measure.own : limits.at(measure.limits);
    measured.unit = measure.unit.empty() ? measured.allowed.unit : measure.unit;
    if (value == nullptr) {
        measured.judgement = {Verdict::failed, measure.name + " was not measured: " + missing};
        return measured;
    }
    measured.values = numbersOf(*value);
    for (double& number : measured.values) {
        number = withoutNoise(number * measure.scale + measure.offset);
    }
    const std::size_t count = measured.values.size(), wanted = measured.allowed.bounds.size();
    if (count == 0) {
        measured.text = display(*value, 200);
        measured.judgement = {Verdict::failed, measure.name + " is " + measured.text + ", expected a number"};
    } else if (measured.allowed.isList && count != wanted) {
        measured.judgement = {Verdict::failed, measure.name + " has " + std::to_string(count) + " values, expected " +
                                                   std::to_string(wanted)};
    } else {
        measured.judgement = judgeNumbers(measure, measured);
    }
    return measured;
}

}  // namespace tool
