// SPDX-License-Identifier: Apache-2.0
// How a set is reached that is not this PC's virtual one.
#include "hub/wire_options.h"

namespace tool {

namespace {

Field wordsField(const std::vector<std::string>& words) {
    return Field::List(words.begin(), words.end());
}

std::vector<std::string> wordsOf(const Field& list) {
    std::vector<std::string> words;
    for (const Field& word : list.list()) {
        words.push_back(word.text());
    }
    return words;
}

}  // namespace

Field toField(const WireOptions& options) {
    return {{"name", options.name},
            {"command", wordsField(options.command)},
            {"checked", options.isChecked},
            {"start", wordsField(options.start)},
            {"power-cycle", wordsField(options.powerCycle)},
            {"power-place", options.powerPlace},
            {"up-within", static_cast<long long>(options.upWithin.count())}};
}

WireOptions parseWireOptions(const Field& field) {
    return {field.at("name").text(),
            wordsOf(field.at("command")),
            field.at("checked").flag(),
            wordsOf(field.at("start")),
            wordsOf(field.at("power-cycle")),
            field.at("power-place").text(),
            std::chrono::milliseconds(field.at("up-within").number())};
}

}  // namespace tool
