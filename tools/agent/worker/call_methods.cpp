// SPDX-License-Identifier: Apache-2.0
// Methods that call operations and carry out actions.
#include <chrono>
#include <optional>

#include "actions/action.h"
#include "actions/log_switch.h"
#include "actions/middleware_words.h"
#include "operations/operation.h"
#include "vset/vset.h"
#include "worker/arguments.h"
#include "worker/method.h"
#include "worker/notices.h"
#include "worker/preparation.h"
#include "worker/set_session.h"

namespace tool {

namespace {

using Steady = std::chrono::steady_clock;
using Wall = std::chrono::system_clock;

const OperationRow& wantedOperation(const std::string& name) {
    const OperationRow* row = findOperationRow(name);
    if (row == nullptr) {
        throw MessageError("no such operation: " + name);
    }
    return *row;
}

const ActionRow& wantedAction(const std::string& name) {
    const ActionRow* row = findActionRow(name);
    if (row == nullptr) {
        throw MessageError("no such action: " + name);
    }
    return *row;
}

struct Moment {
    Steady::time_point mono = Steady::now();
    Wall::time_point wall = Wall::now();

    Field field() const {
        using std::chrono::nanoseconds;
        return {{"mono", std::chrono::duration_cast<nanoseconds>(mono.time_since_epoch()).count()},
                {"wall", std::chrono::duration_cast<nanoseconds>(wall.time_since_epoch()).count()}};
    }
};

// Runs it, and makes an answer of what came out. A client that follows all refusals, of other threads, too, says after
// which one.
template <class Run>
Field answerOf(const Field& params, const OperationRow* operation, Run&& run) {
    const Moment begun;
    Outcome outcome = run();
    const Moment ended;
    if (params.has("refusedAfter")) {
        const auto after = static_cast<std::uint64_t>(params["refusedAfter"].number());
        outcome.refusals = refusedCalls(after, operation);
    }
    if (isBoard()) {
        // No chip says so much.
        outcome.refusals.clear();
        outcome.failedCalls.clear();
    }
    const Result result = operation != nullptr ? operation->result : Result::status;
    Field answer = Field::Fields{};
    addTo(answer, outcome);
    answer.set("word", wordOf(result, outcome));
    const auto time = std::chrono::duration_cast<std::chrono::microseconds>(ended.mono - begun.mono);
    answer.set("microseconds", time.count());
    answer.set("begun", begun.field());
    answer.set("ended", ended.field());
    const std::vector<std::string> troubles = vset::takeHostTroubles();
    if (!troubles.empty()) {
        answer.set("troubles", Field::List(troubles.begin(), troubles.end()));
    }
    return answer;
}

Reply call(const Field& params) {
    const OperationRow& row = wantedOperation(params.at("operation").text());
    const std::vector<Value> arguments = argumentsOf(row.arguments, params["arguments"]);
    const bool destroys = row.danger == Danger::destroys || row.danger == Danger::mustFinish;
    if (destroys && !params["confirm"].flagOr(false)) {
        throw RequestError(ErrorCode::notConfirmed, row.shortName() + " " + row.destroys);
    }
    std::optional<LogSwitch> logSwitch;
    if (row.readsLogSwitch) {
        logSwitch.emplace();
    }
    const Preparation preparation = params["prepare"].flagOr(true) ? prepareFor(row) : Preparation();
    std::optional<MustFinish> mustFinish;
    if (row.danger == Danger::mustFinish) {
        mustFinish.emplace();
    }
    noteCalled(row);
    Field answer = answerOf(params, &row, [&] {
        Outcome outcome = row.invoke(arguments);
        outcome.refusals.insert(outcome.refusals.begin(), preparation.refusals.begin(), preparation.refusals.end());
        return outcome;
    });
    if (!preparation.names.empty()) {
        answer.set("prepared", preparation.names);
    }
    if (!preparation.failures.empty()) {
        answer.set("unprepared", preparation.failures);
    }
    return answer;
}

// What every operation needs, without one of them.
Reply prepare(const Field&) {
    const LogSwitch logSwitch;
    const Preparation preparation = prepareFor(wantedOperation("common_get_fapi_version"));
    Field answer = Field::Fields{};
    answer.set("prepared", preparation.names);
    if (!preparation.failures.empty()) {
        answer.set("unprepared", preparation.failures);
    }
    return answer;
}

Reply act(const Field& params) {
    const ActionRow& row = wantedAction(params.at("action").text());
    const std::vector<Value> arguments = argumentsOf(row.arguments, params["arguments"]);
    return answerOf(params, nullptr, [&] { return row.perform(arguments); });
}

std::vector<std::string> textsOf(const Field& list) {
    std::vector<std::string> texts;
    if (!list.isNull()) {
        for (const Field& text : list.list()) {
            texts.push_back(text.text());
        }
    }
    return texts;
}

Reply check(const Field& params) {
    const bool isAction = params.has("action");
    const ActionRow* action = isAction ? &wantedAction(params.at("action").text()) : nullptr;
    const OperationRow* operation = isAction ? nullptr : &wantedOperation(params.at("operation").text());
    const std::vector<Argument>& declared = isAction ? action->arguments : operation->arguments;
    try {
        const std::vector<Value> values = argumentsOf(declared, params["arguments"]);
        const std::vector<std::string> words = textsOf(params["words"]);
        if (isAction) {
            action->check(values, words);
            return {};
        }
        operation->check(values, words);
        const std::string warning =
            operation->warningOf(values, params.has("first") ? argumentsOf(declared, params["first"]) : values);
        return warning.empty() ? Field(Field::Fields{}) : Field{{"warning", warning}};
    } catch (const UsageError& error) {
        Field problem = {{"text", error.what()}};
        if (error.word()) {
            problem.set("word", *error.word());
        }
        return Field{{"problem", std::move(problem)}};
    }
}

}  // namespace

std::vector<Method> callMethods() {
    return {{"act", act, true}, {"call", call, true}, {"check", check}, {"prepare", prepare, true}};
}

}  // namespace tool
