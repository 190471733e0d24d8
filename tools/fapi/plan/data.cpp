// SPDX-License-Identifier: Apache-2.0
// "data" in plans.
#include "plan/data.h"

#include "operations/input_words.h"
#include "plan/plan.h"
#include "vset/disp.h"

namespace tool {

namespace {

constexpr char kValues[] = "values";
constexpr std::size_t kFirstWord = 3;  // behind "data NAME KIND"

Json series(const std::string& name, Json values) {
    return {{"name", name}, {"values", std::move(values)}};
}

Json gammaSeries(const std::vector<Value>& arguments) {
    constexpr const char* kNames[] = {"red", "green", "blue"};
    const auto number = static_cast<unsigned int>(std::get<long long>(arguments[0]));
    const vset::disp::Window window = vset::disp::window(number);
    Json all = Json::array();
    for (std::size_t i = 0; i < window.gamma.size(); ++i) {
        if (window.gamma[i].empty()) {
            throw SetError("window " + std::to_string(number) + " has been sent no gamma curves");
        }
        all.push_back(series(kNames[i], window.gamma[i]));
    }
    return all;
}

Json calibrationSeries(const std::vector<Value>& arguments) {
    const vset::extin::Calibration calibration =
        vset::extin::calibration(static_cast<std::uint32_t>(std::get<long long>(arguments[0])),
                                 static_cast<std::uint32_t>(std::get<long long>(arguments[1])));
    Json all = Json::array();
    for (const auto& [name, value] : namedValues(calibration.stGainOffset)) {
        all.push_back(series(name, Json::array({value})));
    }
    return all;
}

// Numbers that the set has.
struct Source {
    const char* name;
    const char* kind;
    std::vector<Argument> arguments;
    Json (*series)(const std::vector<Value>& arguments);
};

const std::vector<Source>& sources() {
    static const std::vector<Source> all = {
        {"gamma", "curves", {{"window", Kind::number, "the display window", 0, vset::disp::kWindows - 1}}, gammaSeries},
        {"calibration", kValues, {analogInputType(), inputIndex()}, calibrationSeries},
    };
    return all;
}

// The numbers of the plan's own: "before=${x}".
Json valueSeries(const Words& words) {
    Json all = Json::array();
    for (auto word = words.begin() + kFirstWord; word != words.end(); ++word) {
        const std::size_t equals = word->find('=');
        const std::string text = equals != std::string::npos ? word->substr(equals + 1) : "";
        long long number = 0;
        if (equals == 0 || (variablesOf(text).empty() && !parseNumber(text, number))) {
            throw UsageError(display(*word, 40) + ": expected WORD=NUMBER",
                             static_cast<std::size_t>(word - words.begin()));
        }
        all.push_back(series(word->substr(0, equals), Json::array({number})));
    }
    return all;
}

std::vector<Value> argumentsOf(const Source& source, const Words& words) {
    const Words fitting = withAnyValues(words, kFirstWord, source.arguments);
    try {
        return parseWords(source.arguments, {fitting.begin() + kFirstWord, fitting.end()});
    } catch (const UsageError& error) {
        throw error.behind(kFirstWord, error.what());
    }
}

}  // namespace

PlanData PlanData::parse(const Words& words) {
    const bool isComplete = words.size() > kFirstWord && isFileName(words[1]);
    if (isComplete && words[2] == kValues) {
        return {words[1], kValues, [all = valueSeries(words)] { return all; }};
    }
    for (const Source& source : sources()) {
        if (isComplete && words[2] == source.name) {
            return {words[1], source.kind,
                    [&source, arguments = argumentsOf(source, words)] { return source.series(arguments); }};
        }
    }
    throw UsageError(
        "expected: data NAME gamma WINDOW, data NAME calibration TYPE INDEX or data NAME values WORD=NUMBER... (a name "
        "of letters, digits, _ and -)",
        std::min<std::size_t>(words.size(), isComplete ? 2 : 1));
}

Json PlanData::take() const {
    return {{"name", _name}, {"kind", _kind}, {"series", _series()}};
}

}  // namespace tool
