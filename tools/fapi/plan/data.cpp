// SPDX-License-Identifier: Apache-2.0
// "data" in plans.
#include "plan/data.h"

#include <algorithm>

#include "plan/picture_line.h"
#include "judge/variables.h"
#include "target/arguments.h"
#include "target/target_description.h"

namespace tool {

namespace {

constexpr char kValues[] = "values";
constexpr std::size_t kFirstWord = 3;  // behind "data NAME KIND"

// The numbers of the plan's own: "before=${x}".
std::vector<DataSeries> valueSeries(const Words& words) {
    std::vector<DataSeries> all;
    for (auto word = words.begin() + kFirstWord; word != words.end(); ++word) {
        const std::size_t equals = word->find('=');
        const std::string text = equals != std::string::npos ? word->substr(equals + 1) : "";
        long long number = 0;
        if (equals == 0 || (variablesOf(text).empty() && !parseNumber(text, number))) {
            throw UsageError(display(*word, 40) + ": expected WORD=NUMBER",
                             static_cast<std::size_t>(word - words.begin()));
        }
        all.push_back({word->substr(0, equals), {number}});
    }
    return all;
}

// The parameters of the method that answers numbers of the set.
Field requestFor(const DataKind& source, const Words& words) {
    const Words fitting = withAnyValues(words, kFirstWord, source.arguments);
    try {
        Field::List arguments;
        for (const Value& value : parseWords(source.arguments, {fitting.begin() + kFirstWord, fitting.end()})) {
            arguments.push_back(Field::ofSet(value));
        }
        return {{"source", source.name}, {"arguments", std::move(arguments)}};
    } catch (const UsageError& error) {
        throw error.behind(kFirstWord, error.what());
    }
}

}  // namespace

PlanData PlanData::parse(const Words& words) {
    const bool isComplete = words.size() > kFirstWord && isFileName(words[1]);
    if (isComplete && words[2] == kValues) {
        return {words[1], kValues, valueSeries(words), {}};
    }
    for (const DataKind& source : description().data) {
        if (isComplete && words[2] == source.name) {
            return {words[1], source.kind, {}, requestFor(source, words)};
        }
    }
    throw UsageError(
        "expected: data NAME gamma WINDOW, data NAME calibration TYPE INDEX or data NAME values WORD=NUMBER... (a name "
        "of letters, digits, _ and -)",
        std::min<std::size_t>(words.size(), isComplete ? 2 : 1));
}

std::vector<DataSeries> parseSeries(const Field& answer) {
    std::vector<DataSeries> all;
    for (const Field& row : answer.at("series").list()) {
        DataSeries& series = all.emplace_back();
        series.name = row.at("name").text();
        for (const Field& value : row.at("values").list()) {
            series.values.push_back(value.number());
        }
    }
    return all;
}

}  // namespace tool
