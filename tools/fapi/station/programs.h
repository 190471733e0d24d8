// SPDX-License-Identifier: Apache-2.0
// Programs of the station, which are waited for while the set's messages are handled, and ended with their children at
// their limit.
#ifndef FAPI_BENCH_STATION_PROGRAMS_H
#define FAPI_BENCH_STATION_PROGRAMS_H

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "hub/agent_wire.h"
#include "station/station.h"
#include "target/call_answer.h"
#include "target/waiting.h"

namespace tool {

// Waits until something has come from the program, and moves it.
void waitFor(AgentWire& program, std::vector<Line>& lines, Clock::time_point until);

// Runs the program to its end. Lines of its standard output "NAME=VALUE" are outputs; exit code 0 is a success, 1 a
// failure of the set, with the last line of the standard error as its output "error". Throws RequestError
// `stationFailed` for every other end, and what `check` throws.
CallAnswer runProgram(const Words& command, std::chrono::milliseconds within, const CheckWaiting& check);

// A fixture that speaks the protocol. It is started when it is needed, and again after it has ended.
class FixtureProgram {
public:
    explicit FixtureProgram(const StationFixture& fixture) : _fixture(fixture) {}

    // What it says of its actions. Throws RequestError.
    const std::vector<Action>& actions();
    // Throws RequestError, and what `check` throws.
    CallAnswer act(const Action& action, const std::vector<Value>& arguments, const CheckWaiting& check);

private:
    Field ask(const std::string& method, const Field& params, const CheckWaiting& check);
    void start();
    [[noreturn]] void fail(const std::string& what);

    const StationFixture _fixture;
    std::unique_ptr<AgentWire> _program;
    long long _lastId = 0;
    std::optional<std::vector<Action>> _actions;
};

}  // namespace tool

#endif
