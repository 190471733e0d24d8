// SPDX-License-Identifier: Apache-2.0
// Programs of the station.
#include "station/programs.h"

#include <algorithm>

#include <sys/wait.h>

#include "protocol/description.h"

namespace tool {

namespace {

// What is kept of the outputs of a program.
constexpr std::size_t kMostOutputs = 64;
constexpr std::size_t kLongestOutput = 4096;
// A large request that the program has not taken is tried again after that.
constexpr std::chrono::milliseconds kUntilWritten{20};

RequestError stationError(const std::string& what) {
    return RequestError(ErrorCode::stationFailed, what);
}

std::string limitText(std::chrono::milliseconds within) {
    return "did not end within " + std::to_string(within.count()) + " ms";
}

void endNow(AgentWire& program) {
    program.terminate();
    program.waitForEnd();
}

// "NAME=VALUE"
void takeOutput(const std::string& line, Outcome& outcome) {
    const std::size_t equals = line.find('=');
    if (equals == 0 || equals == std::string::npos || line.size() > kLongestOutput ||
        outcome.outputs.size() >= kMostOutputs) {
        return;
    }
    const std::string text = line.substr(equals + 1);
    long long number = 0;
    Value value = text;
    if (parseNumber(text, number)) {
        value = number;
    }
    outcome.outputs.emplace_back(line.substr(0, equals), value);
}

}  // namespace

void waitFor(AgentWire& program, std::vector<Line>& lines, Clock::time_point until) {
    std::vector<pollfd> waited;
    std::optional<Clock::time_point> next = until;
    program.addTo(waited, next, true);
    if (program.waiting() != 0) {
        next = std::min(*next, Clock::now() + kUntilWritten);
    }
    waitBesidesSet(waited, next);
    program.move(waited, lines);
}

CallAnswer runProgram(const Words& command, std::chrono::milliseconds within, const CheckWaiting& check) {
    CallAnswer answer;
    answer.begun = Clock::now();
    std::optional<AgentWire> program;
    try {
        program.emplace(command);
    } catch (const RequestError& error) {
        throw stationError(error.what());
    }
    program->endInput();
    const Clock::time_point until = Clock::now() + within;
    std::string lastError;
    while (!program->isGone()) {
        std::vector<Line> lines;
        waitFor(*program, lines, until);
        for (const Line& line : lines) {
            takeOutput(line.text, answer.outcome);
            lastError = line.text.empty() ? lastError : line.text;
        }
        try {
            check();
        } catch (...) {
            endNow(*program);
            throw;
        }
        if (Clock::now() >= until && !program->isGone()) {
            endNow(*program);
            throw stationError(command[0] + ": " + limitText(within));
        }
    }
    const bool isFailure = WIFEXITED(program->status()) && WEXITSTATUS(program->status()) == 1;
    if (program->status() != 0 && !isFailure) {
        throw stationError(program->reason());
    }
    answer.outcome.status = isFailure ? -1 : 0;
    answer.outcome.good = !isFailure;
    if (isFailure) {
        answer.outcome.outputs.emplace_back("error",
                                            lastError.empty() ? command[0] + ": ended with exit code 1" : lastError);
    }
    answer.ended = Clock::now();
    return answer;
}

// --- Fixtures --------------------------------------------------------------------------------------------------------

void FixtureProgram::fail(const std::string& what) {
    if (_program) {
        endNow(*_program);
    }
    _program.reset();
    throw stationError("fixture " + _fixture.name + ": " + what);
}

void FixtureProgram::start() {
    try {
        _program = std::make_unique<AgentWire>(_fixture.command);
    } catch (const RequestError& error) {
        fail(error.what());
    }
    const Field versions = Field::List{kProtocolOldest, kProtocolNewest};
    ask("hello", {{"protocol", versions}, {"framings", Field::List{kPlainName}}}, [] {});
}

Field FixtureProgram::ask(const std::string& method, const Field& params, const CheckWaiting& check) {
    if (_program == nullptr || _program->isGone()) {
        start();
    }
    const long long id = ++_lastId;
    const Clock::time_point until = Clock::now() + _fixture.within;
    _program->send(toField(Request{id, method, params, {}}));
    while (!_program->isGone()) {
        std::vector<Line> lines;
        waitFor(*_program, lines, until);
        for (const Line& line : lines) {
            const Field object = line.kind == Line::Kind::message ? parseJsonText(line.text) : Field();
            if (idOf(object) == id && !object.has("method")) {
                Answer answer = *parseMessage(object).answer;
                if (answer.failure) {
                    throw RequestError(*answer.failure);
                }
                return std::move(answer.result);
            }
        }
        try {
            check();
        } catch (...) {
            // What it does for this request must not answer the next one.
            endNow(*_program);
            _program.reset();
            throw;
        }
        if (Clock::now() >= until) {
            fail(method + " was not answered within " + std::to_string(_fixture.within.count()) + " ms");
        }
    }
    fail(_program->reason());
}

const std::vector<Action>& FixtureProgram::actions() {
    if (!_actions) {
        try {
            _actions = parseDescription(ask("describe", Field::Fields(), [] {})).actions;
        } catch (const MessageError& error) {
            fail(std::string("describe: ") + error.what());
        }
    }
    return *_actions;
}

CallAnswer FixtureProgram::act(const Action& action, const std::vector<Value>& arguments, const CheckWaiting& check) {
    Field::List list;
    for (const Value& value : arguments) {
        list.push_back(Field::ofSet(value));
    }
    try {
        CallAnswer answer = parseCallAnswer(ask("act", {{"action", action.name}, {"arguments", list}}, check));
        // Its clock need not be the set's.
        answer.ended = Clock::now();
        return answer;
    } catch (const MessageError& error) {
        fail(action.name + ": " + error.what());
    } catch (const RequestError& error) {
        const bool passes = error.code() == ErrorCode::stationFailed || error.code() == ErrorCode::canceled ||
                            (error.code() == ErrorCode::died && action.endsWorker);
        if (passes) {
            throw;
        }
        throw stationError("fixture " + _fixture.name + ": " + action.name + ": " + error.what());
    }
}

}  // namespace tool
