// SPDX-License-Identifier: Apache-2.0
// Pictures of numbers and times.
#include "report/charts.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tool {

namespace {

constexpr std::size_t kPoints = 1024;  // of a curve; more cannot be told apart
constexpr std::size_t kColors = 6;     // series0 ... series5 of the style

// The inner part of a chart, between its axes.
constexpr double kChartWidth = 640, kChartHeight = 260;
constexpr double kLeft = 64, kRight = 12, kTop = 10, kBottom = 30;

struct Range {
    double low = 0, high = 0;

    double span() const { return high - low; }
    // Where the value lies: 0 to 1 inside.
    double place(double value) const { return span() > 0 ? (value - low) / span() : 0.5; }
    void cover(double value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }
};

Html drawing(Html parent, const char* cssClass, double width, double height, const std::string& what) {
    Html svg = parent.add("svg", cssClass);
    svg.attribute("viewBox", "0 0 " + std::to_string(std::lround(width)) + " " + std::to_string(std::lround(height)));
    svg.attribute("width", std::to_string(std::lround(width)));
    svg.attribute("role", "img").attribute("aria-label", what);
    return svg;
}

// One that says no more than the text beside it.
Html ornament(Html parent, const char* cssClass, const std::string& viewBox) {
    Html svg = parent.add("svg", cssClass);
    svg.attribute("viewBox", viewBox).attribute("aria-hidden", std::string("true"));
    return svg;
}

Html line(Html svg, const char* cssClass, double x1, double y1, double x2, double y2) {
    Html drawn = svg.add("line", cssClass);
    drawn.attribute("x1", x1).attribute("y1", y1).attribute("x2", x2).attribute("y2", y2);
    return drawn;
}

Html box(Html svg, const char* cssClass, double x, double y, double width, double height) {
    Html drawn = svg.add("rect", cssClass);
    drawn.attribute("x", x).attribute("y", y).attribute("width", std::max(width, 0.0)).attribute("height", height);
    return drawn;
}

void label(Html svg, const char* cssClass, double x, double y, const std::string& text) {
    svg.add("text", cssClass, text).attribute("x", x).attribute("y", y);
}

// "12", "1.5", "2.5e+10"
std::string numberText(double number) {
    char text[40];
    std::snprintf(text, sizeof(text), std::abs(number) < 1e9 ? "%.10g" : "%.4g", number);
    return text;
}

// The distance of round numbers of which about `count` are in the range.
double tickDistance(const Range& range, int count) {
    const double raw = range.span() / count;
    const double power = std::pow(10, std::floor(std::log10(raw)));
    for (const double step : {1.0, 2.0, 5.0}) {
        if (raw <= step * power) {
            return step * power;
        }
    }
    return 10 * power;
}

// Round numbers in the range; whole ones where all that is drawn are whole numbers.
std::vector<double> ticks(const Range& range, int count, bool isWhole = true) {
    std::vector<double> all;
    if (range.span() > 0) {
        const double distance = std::max(isWhole ? 1.0 : 0.0, tickDistance(range, count));
        for (double tick = std::ceil(range.low / distance) * distance; tick <= range.high; tick += distance) {
            all.push_back(tick);
        }
    }
    return all;
}

// "red" and "red_gain" are red, and so on; the others take turns.
std::string seriesClass(const Json& series, std::size_t index) {
    const std::string name = series["name"].get<std::string>();
    for (const char* color : {"red", "green", "blue"}) {
        if (name.rfind(color, 0) == 0) {
            return std::string("series-") + color;
        }
    }
    return "series" + std::to_string(index % kColors);
}

std::vector<double> numbersOf(const Json& series) {
    std::vector<double> numbers;
    for (const Json& value : series["values"]) {
        numbers.push_back(value.is_number() ? value.get<double>() : 0);
    }
    return numbers;
}

class CurveChart {
public:
    CurveChart(Html parent, const Json& data) : _parent(parent), _data(data) {
        bool isFirst = true;
        for (const Json& series : data["series"]) {
            const std::vector<double> numbers = numbersOf(series);
            _x.cover(static_cast<double>(numbers.empty() ? 0 : numbers.size() - 1));
            for (const double number : numbers) {
                _y.low = isFirst ? number : _y.low;
                _y.high = isFirst ? number : _y.high;
                isFirst = false;
                _isWhole = _isWhole && number == std::floor(number);
                _y.cover(number);
            }
        }
        // A flat line stands in the middle.
        if (_y.span() <= 0) {
            _y = {_y.low - 1, _y.high + 1};
        }
    }

    void draw() {
        const std::string name = _data["name"].get<std::string>();
        Html svg = drawing(_parent, "chart", kLeft + kChartWidth + kRight, kTop + kChartHeight + kBottom, name);
        for (const double tick : ticks(_y, 5, _isWhole)) {
            line(svg, "grid", kLeft, y(tick), kLeft + kChartWidth, y(tick));
            label(svg, "tick end", kLeft - 6, y(tick) + 4, numberText(tick));
        }
        for (const double tick : ticks(_x, 8)) {
            line(svg, "grid", x(tick), kTop, x(tick), kTop + kChartHeight);
            label(svg, "tick middle", x(tick), kTop + kChartHeight + 18, numberText(tick));
        }
        line(svg, "axis", kLeft, kTop + kChartHeight, kLeft + kChartWidth, kTop + kChartHeight);
        line(svg, "axis", kLeft, kTop, kLeft, kTop + kChartHeight);
        std::size_t index = 0;
        for (const Json& series : _data["series"]) {
            drawCurve(svg, series, seriesClass(series, index++));
        }
        drawLegend();
    }

private:
    double x(double value) const { return kLeft + _x.place(value) * kChartWidth; }
    double y(double value) const { return kTop + (1 - _y.place(value)) * kChartHeight; }

    void drawCurve(Html svg, const Json& series, const std::string& cssClass) const {
        const std::vector<double> numbers = numbersOf(series);
        const std::size_t step = numbers.size() / kPoints + 1;
        std::string points;
        const auto addPoint = [&](std::size_t i) {
            char point[80];
            std::snprintf(point, sizeof(point), "%.1f,%.1f ", x(static_cast<double>(i)), y(numbers[i]));
            points += point;
        };
        for (std::size_t i = 0; i + 1 < numbers.size(); i += step) {
            addPoint(i);
        }
        if (!numbers.empty()) {
            addPoint(numbers.size() - 1);
        }
        svg.add("polyline", ("curve " + cssClass).c_str())
            .attribute("points", points)
            .attribute("stroke-width", 2 + 4 * static_cast<double>(sameBehind(series)));
    }

    // How many of the series behind this one have the same values: a curve shows on both sides of what covers it.
    long sameBehind(const Json& series) const {
        const Json& all = _data["series"];
        const auto begin = std::find(all.begin(), all.end(), series) + 1;
        return std::count_if(begin, all.end(), [&](const Json& other) { return other["values"] == series["values"]; });
    }

    void drawLegend() {
        Html legend = _parent.add("p", "legend");
        std::size_t index = 0;
        for (const Json& series : _data["series"]) {
            Html entry = legend.add("span", "entry");
            entry.add("span", ("key " + seriesClass(series, index++)).c_str(), "");
            const std::vector<double> numbers = numbersOf(series);
            const auto [low, high] = std::minmax_element(numbers.begin(), numbers.end());
            entry.text(" " + series["name"].get<std::string>() +
                       (numbers.empty() ? ": no values"
                                        : ": " + std::to_string(numbers.size()) + " values, " + numberText(*low) +
                                              " to " + numberText(*high)));
        }
    }

    Html _parent;
    const Json& _data;
    Range _x, _y;
    bool _isWhole = true;  // all values
};

void writeNumbers(Html parent, const Json& data) {
    Html list = parent.add("dl", "numbers");
    for (const Json& series : data["series"]) {
        for (const double number : numbersOf(series)) {
            Html pair = list.add("div");
            pair.add("dt", "", series["name"].get<std::string>());
            pair.add("dd", "", numberText(number));
        }
    }
}

}  // namespace

void drawGauge(Html parent, const Json& measurement) {
    constexpr double kWidth = 240, kHeight = 22, kMiddle = 11;
    const double value = measurement["value"].get<double>();
    const Range limits{measurement["low"].get<double>(), measurement["high"].get<double>()};
    const double margin = std::min(measurement["margin"].get<double>(), limits.span() / 2);
    // The limits take three fifths in the middle; what is farther out stands at the edge.
    const double unit = limits.span() > 0 ? kWidth * 0.6 / limits.span() : 0;
    const double left = kWidth * (limits.span() > 0 ? 0.2 : 0.5);
    const auto x = [&](double number) {
        const double far = number < limits.low ? 4 : kWidth - 4;
        const bool isOut = number < limits.low || number > limits.high;
        return isOut && unit <= 0 ? far : std::clamp(left + (number - limits.low) * unit, 4.0, kWidth - 4);
    };
    Html svg = drawing(parent, "gauge", kWidth, kHeight,
                       numberText(value) + " in " + numberText(limits.low) + " to " + numberText(limits.high));
    box(svg, "track", 0, kMiddle - 4, kWidth, 8);
    const double from = x(limits.low + margin), to = x(limits.high - margin);
    box(svg, "near", x(limits.low), kMiddle - 4, from - x(limits.low), 8);
    box(svg, "inside", from, kMiddle - 4, to - from, 8);
    box(svg, "near", to, kMiddle - 4, x(limits.high) - to, 8);
    line(svg, "limit", x(limits.low), kMiddle - 7, x(limits.low), kMiddle + 7);
    line(svg, "limit", x(limits.high), kMiddle - 7, x(limits.high), kMiddle + 7);
    const bool isOut = value < limits.low || value > limits.high;
    svg.add("circle", isOut ? "mark out" : "mark")
        .attribute("cx", x(value))
        .attribute("cy", kMiddle)
        .attribute("r", std::string("4"));
}

void drawPart(Html parent, double part) {
    Html rect = parent.add("svg", "part").add("rect");
    rect.attribute("width", std::to_string(std::max(1l, std::lround(100 * part))) + "%");
}

void drawHistogram(Html parent, const std::vector<std::size_t>& counts, const std::string& first,
                   const std::string& last) {
    constexpr double kBarHeight = 120;
    Html svg = drawing(parent, "chart", kLeft + kChartWidth + kRight, kTop + kBarHeight + kBottom, "histogram");
    const auto most = static_cast<double>(std::max<std::size_t>(1, *std::max_element(counts.begin(), counts.end())));
    const double width = kChartWidth / static_cast<double>(counts.size());
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double height = kBarHeight * static_cast<double>(counts[i]) / most;
        box(svg, "bar", kLeft + width * static_cast<double>(i), kTop + kBarHeight - height, width - 1, height);
    }
    line(svg, "axis", kLeft, kTop + kBarHeight, kLeft + kChartWidth, kTop + kBarHeight);
    label(svg, "tick end", kLeft - 6, kTop + 10, numberText(most));
    label(svg, "tick middle", kLeft, kTop + kBarHeight + 18, first);
    label(svg, "tick end", kLeft + kChartWidth, kTop + kBarHeight + 18, last);
}

void drawData(Html parent, const Json& data) {
    const Json& all = data["series"];
    const bool hasCurves =
        std::any_of(all.begin(), all.end(), [](const Json& series) { return series["values"].size() > 1; });
    if (hasCurves) {
        CurveChart(parent, data).draw();
    } else {
        writeNumbers(parent, data);
    }
}

void drawMoments(Html parent, const std::vector<Moment>& moments, double seconds) {
    const Range range{0, std::max(seconds, 0.001)};
    Html list = parent.add("ol", "moments");
    for (const Moment& moment : moments) {
        Html row = list.add("li");
        row.add("span", "time", durationText(moment.seconds));
        constexpr double kLine = 200, kMark = 4;
        Html svg = ornament(row, "line", "0 0 200 8");
        line(svg, "grid", 0, kMark, kLine, kMark);
        svg.add("circle", "mark")
            .attribute("cx", kLine * std::clamp(range.place(moment.seconds), 0.0, 1.0))
            .attribute("cy", kMark)
            .attribute("r", kMark);
        row.add("span", "name", moment.name);
    }
}

}  // namespace tool
