// SPDX-License-Identifier: Apache-2.0
// The actions that the station carries out.
#include "serve/station_work.h"

#include <algorithm>
#include <filesystem>

#include "serve/tool_process.h"
#include "station/station_actions.h"

namespace tool {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostAtWork = 4;  // each keeps a thread of the server
constexpr auto kBeyondTheLimit = 20s;   // for the program to start, to give up by itself and to say so

// As the agent answers one of its own actions.
Json answerOf(const Json& printed) {
    Json outputs = Json::array();
    const Json given = printed.value("outputs", Json::object());
    for (const auto& [name, value] : given.items()) {
        outputs.push_back({{"name", name}, {"value", value}});
    }
    return {{"good", printed.value("good", false)}, {"word", printed.value("word", "")}, {"outputs", outputs}};
}

}  // namespace

std::vector<Action> StationWork::actions() {
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!_actions) {
        // Its fixtures end with it: a run starts its own.
        _actions = _station.bindings.empty() ? std::vector<Action>() : stationActions(_station)->actions();
    }
    return *_actions;
}

std::string StationWork::whoDoes(const std::string& action) const {
    const Binding* own = _station.binding(action);
    const Binding* binding = own != nullptr ? own : _station.binding(kAllOthers);
    if (binding == nullptr) {
        return "";
    }
    switch (binding->kind) {
        case Binding::Kind::fixture:
            return "fixture " + binding->fixture;
        case Binding::Kind::program:
            return "program " + std::filesystem::path(binding->command[0]).filename().string();
        default:
            return "the operator";
    }
}

WebAnswer StationWork::carryOut(const std::string& name, const Words& set, const Words& words) {
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (_busy.size() >= kMostAtWork || !_busy.insert(name).second) {
            return errorAnswer(409, "the station is at work on another action");
        }
    }
    Words command = set;
    command.insert(command.end(), {"--json", "--yes", "set", words[0], "--"});
    command.insert(command.end(), words.begin() + 1, words.end());
    auto limit = std::max(_station.programWithin, _station.personWithin);
    for (const StationFixture& fixture : _station.fixtures) {
        limit = std::max(limit, fixture.within);
    }
    const ToolResult done = runTool(command, limit + kBeyondTheLimit);
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _busy.erase(name);
    }
    const std::size_t end = done.output.find('\n');
    const Json printed = Json::parse(done.output.substr(0, end), nullptr, false);
    if (!printed.is_object() || printed.contains("error")) {
        return errorAnswer(502, printed.is_object() ? printed["error"].get<std::string>() : done.errors);
    }
    return jsonAnswer(answerOf(printed));
}

}  // namespace tool
