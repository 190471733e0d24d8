// SPDX-License-Identifier: Apache-2.0
// Measurements of a report's JSON, for people.
#include "report/measured_text.h"

#include "base/decimal.h"

namespace tool {

namespace {

std::string jsonNumberText(const Json& number) {
    return number.is_number_float() ? decimalText(number.get<double>()) : jsonText(number, -1);
}

std::string jsonBoundsText(const Json& limits) {
    const Json low = limits.value("low", Json()), high = limits.value("high", Json());
    if (low.is_number() && high.is_number()) {
        return jsonNumberText(low) + " to " + jsonNumberText(high);
    }
    return low.is_number()    ? "at least " + jsonNumberText(low)
           : high.is_number() ? "at most " + jsonNumberText(high)
                              : "any";
}

std::string listText(const Json& list, std::string (*textOf)(const Json&)) {
    std::string text;
    for (const Json& each : list) {
        text += (text.empty() ? "" : ", ") + textOf(each);
    }
    return text;
}

}  // namespace

std::string seenText(const Json& measurement) {
    const std::string unit = measurement.value("unit", "");
    const std::string behind = unit.empty() ? "" : " " + unit;
    if (measurement.contains("values")) {
        return listText(measurement["values"], jsonNumberText) + behind;
    }
    const bool isNumber = measurement["value"].is_number();
    return isNumber ? jsonNumberText(measurement["value"]) + behind : measurement.value("text", "not measured");
}

std::string allowedText(const Json& measurement) {
    return measurement.contains("limits") ? listText(measurement["limits"], jsonBoundsText)
                                          : jsonBoundsText(measurement);
}

std::string measuredText(const Json& measurement) {
    return seenText(measurement) + ", allowed " + allowedText(measurement) + ": " +
           measurement["verdict"].get<std::string>();
}

}  // namespace tool
