// SPDX-License-Identifier: Apache-2.0
// Numbers that the set has and no operation answers.
#include "actions/data_source.h"

#include <algorithm>

#include "operations/input_words.h"
#include "vset/disp.h"
#include "vset/extin.h"

namespace tool {

namespace {

std::uint32_t numberOf(const Value& argument) {
    return static_cast<std::uint32_t>(std::get<long long>(argument));
}

Field gammaSeries(const std::vector<Value>& arguments) {
    constexpr const char* kNames[] = {"red", "green", "blue"};
    const std::uint32_t number = numberOf(arguments[0]);
    const vset::disp::Window window = vset::disp::window(number);
    Field all = Field::List{};
    for (std::size_t i = 0; i < window.gamma.size(); ++i) {
        if (window.gamma[i].empty()) {
            throw vset::SetError("window " + std::to_string(number) + " has been sent no gamma curves");
        }
        all.add({{"name", kNames[i]}, {"values", Field::List(window.gamma[i].begin(), window.gamma[i].end())}});
    }
    return all;
}

Field calibrationSeries(const std::vector<Value>& arguments) {
    const vset::extin::Calibration calibration =
        vset::extin::calibration(numberOf(arguments[0]), numberOf(arguments[1]));
    Field all = Field::List{};
    for (const auto& [name, value] : namedValues(calibration.stGainOffset)) {
        all.add({{"name", name}, {"values", Field::List{value}}});
    }
    return all;
}

}  // namespace

const std::vector<DataSource>& dataSources() {
    static const std::vector<DataSource> all = {
        {{"gamma", "curves", {{"window", Kind::number, "the display window", 0, vset::disp::kWindows - 1}}},
         gammaSeries},
        {{"calibration", "values", {analogInputType(), inputIndex()}}, calibrationSeries},
    };
    return all;
}

const DataSource* findDataSource(const std::string& name) {
    const std::vector<DataSource>& all = dataSources();
    const auto found = std::find_if(all.begin(), all.end(), [&](const DataSource& row) { return name == row.name; });
    return found != all.end() ? &*found : nullptr;
}

}  // namespace tool
