// SPDX-License-Identifier: Apache-2.0
// The set that this program works with, through its hub.
#include "target/session.h"

#include <algorithm>
#include <memory>
#include <tuple>

#include "base/terminal.h"
#include "target/event_log.h"
#include "target/output.h"
#include "target/target_description.h"

namespace tool {

TargetOptions targetOptions(const SessionOptions& options) {
    TargetOptions target;
    target.folder = options.folder;
    target.client = options.client;
    target.isDamaged = options.damaged;
    target.wire = options.wire;
    target.stop = options.stop;
    return target;
}

namespace {

std::unique_ptr<Target> g_target;
SessionOptions g_chosen;
bool g_isOpen = false;
bool g_rebooted = false;
std::function<void()> g_whenRebooted;
std::vector<std::string> g_troubles;

Field fieldsOf(const std::vector<Value>& arguments) {
    Field::List list;
    for (const Value& value : arguments) {
        list.push_back(Field::ofSet(value));
    }
    return list;
}

CallAnswer noted(CallAnswer answer) {
    g_troubles.insert(g_troubles.end(), answer.troubles.begin(), answer.troubles.end());
    return answer;
}

void setRefusedAfter(Field& params, const CallOptions& options) {
    if (options.refusedAfter) {
        params.set("refusedAfter", *options.refusedAfter);
    }
}

// Joins the hub only if one runs that answers soon.
void joinRunning() {
    constexpr std::chrono::milliseconds kShortly{500};
    TargetOptions running = targetOptions(g_chosen);
    running.mayStart = false;
    running.limit = kShortly;
    try {
        g_target = Target::join(running);
    } catch (const RequestError&) {
        // No hub, or one that is busy with its agent's start.
    }
}

void join() {
    if (g_target == nullptr && g_chosen.wire && g_chosen.looksOn) {
        joinRunning();
        if (g_target == nullptr) {
            throw RequestError(ErrorCode::unavailable, g_chosen.wire->name + " is not in use");
        }
    }
    if (g_target == nullptr) {
        g_target = Target::join(targetOptions(g_chosen));
    }
}

void listen(Target& target) {
    target.listen("event", [](const Field& params) { eventLog().add(parseEvent(params)); });
    target.listen("log", [](const Field& params) { std::fprintf(stderr, "%s\n", params["text"].textOr("").c_str()); });
    target.listen("worker", [](const Field& params) {
        if (params["state"].textOr("") == "ended" && params["reason"].textOr("") == "watchdog") {
            g_rebooted = true;
            if (g_whenRebooted) {
                g_whenRebooted();
            }
        }
    });
}

}  // namespace

std::string setFolder(const SessionOptions& options) {
    return nameOf(targetOptions(options));
}

void chooseSession(const SessionOptions& options) {
    const auto chosen = [](const SessionOptions& one) {
        return std::tuple(one.folder, one.wire ? one.wire->command : std::vector<std::string>(), one.damaged,
                          one.client);
    };
    if (!g_isOpen && chosen(options) != chosen(g_chosen)) {
        // What has been asked so far was asked of another set, or as another client.
        g_target.reset();
    }
    g_chosen = options;
}

Field::List damageOf(Target& target) {
    return target.request("set.damage").at("damage").list();
}

void tellDamage(const Field::List& damage) {
    for (const Field& row : damage) {
        for (const Field& line : row.at("damage").list()) {
            printMessage(line.text());
        }
    }
}

// None where there is no set yet, or one that cannot say it.
static Field::List damageIfAny(Target& target) {
    try {
        return damageOf(target);
    } catch (const RequestError& error) {
        if (error.code() != ErrorCode::unavailable && error.code() != ErrorCode::unknownMethod &&
            error.code() != ErrorCode::notSupported) {
            throw;
        }
        return {};
    }
}

Target& openSession(const SessionOptions& options) {
    chooseSession(options);
    join();
    if (options.damaged) {
        tellDamage(damageIfAny(*g_target));
    }
    listen(*g_target);
    g_target->request("log", {{"on", true}});
    try {
        g_target->request("log-switch", {{"state", options.log ? "on" : "set"}});
    } catch (const RequestError& error) {
        // Another client's run has a switch of its own.
        if (error.code() != ErrorCode::claimed || options.log) {
            throw;
        }
    }
    g_isOpen = true;
    return *g_target;
}

bool joinRunning(const SessionOptions& options) {
    chooseSession(options);
    if (g_target == nullptr) {
        TargetOptions target = targetOptions(options);
        target.mayStart = false;
        try {
            g_target = Target::join(target);
        } catch (const RequestError& error) {
            if (error.code() != ErrorCode::unavailable) {
                throw;
            }
            return false;
        }
    }
    // A hub that was started to check the words has no other client.
    g_isOpen = session().clients().size() > 1;
    return g_isOpen;
}

bool isWatchedByOthers(const SessionOptions& options, const std::string& kind) {
    TargetOptions running = targetOptions(options);
    running.mayStart = false;
    try {
        const std::unique_ptr<Target> target = Target::join(running);
        const std::vector<Target::Client> clients = target->clients();
        return std::any_of(clients.begin(), clients.end(), [&](const Target::Client& client) {
            return client.id != target->hello()["client"].numberOr(0) &&
                   std::count(client.watches.begin(), client.watches.end(), kind) != 0;
        });
    } catch (const RequestError&) {
        return false;
    }
}

Target& session() {
    return *g_target;
}

bool isSessionOpen() {
    return g_isOpen;
}

std::string chosenWire() {
    return g_chosen.wire ? g_chosen.wire->name : "";
}

TargetFacts describeChosen() {
    if (g_chosen.wire) {
        try {
            join();
            return factsOf(*g_target, targetOptions(g_chosen));
        } catch (const RequestError&) {
            if (std::optional<TargetFacts> kept = keptFactsOf(targetOptions(g_chosen))) {
                return std::move(*kept);
            }
            if (g_chosen.looksOn) {
                // Its operations are probably those that this PC knows.
                Field likely = describeAgent({}).field();
                likely.set("actions", Field::List{});
                return {AgentDescription(likely), "board"};
            }
            throw;
        }
    }
    // To join a damaged set is to switch it on.
    if (g_target == nullptr && !g_chosen.damaged) {
        joinRunning();
    }
    return {g_target != nullptr ? g_target->description() : describeAgent(targetOptions(g_chosen)), "virtual"};
}

Field askAgent(const std::string& method, const Field& params) {
    // Words are checked before it is known whether there is anything to call.
    join();
    return g_target->request(method, params);
}

Field readFromAgent(const std::string& method, const Field& params, const Sink& sink) {
    join();
    return g_target->read(method, params, sink);
}

void closeSession() {
    g_target.reset();
    g_isOpen = false;
}

CallAnswer callOperation(const Operation& operation, const std::vector<Value>& arguments, const CallOptions& options) {
    Field params = {{"operation", operation.name},
                    {"arguments", fieldsOf(arguments)},
                    {"confirm", true},
                    {"prepare", options.prepare}};
    setRefusedAfter(params, options);
    return noted(session().call(params));
}

CallAnswer carryOut(const Action& action, const std::vector<Value>& arguments, const CallOptions& options) {
    Field params = {{"action", action.name}, {"arguments", fieldsOf(arguments)}};
    setRefusedAfter(params, options);
    return noted(session().act(params));
}

void bringUp() {
    Field answer;
    try {
        answer = session().request("prepare", Field::Fields());
    } catch (const RequestError& error) {
        // The client that has claimed the set brings it up; where the agent does not do it as a whole, each call does.
        if (error.code() != ErrorCode::claimed && error.code() != ErrorCode::unknownMethod) {
            throw;
        }
        return;
    }
    for (const Unprepared& failure : parseUnprepared(answer)) {
        printUnprepared(failure.operation, failure.outcome);
    }
}

void listenToEvents(bool on) {
    session().request("events", {{"on", on}});
}

std::vector<std::string> takeTroubles() {
    return std::exchange(g_troubles, {});
}

void noteTrouble(const std::string& trouble) {
    g_troubles.push_back(trouble);
}

void switchOn() {
    session().request("power", {{"to", "on"}, {"damaged", g_chosen.damaged}});
}

std::optional<long long> powerCycle() {
    const Field answer = session().request("power", {{"to", "cycle"}, {"damaged", g_chosen.damaged}});
    return answer["boots"].isNumber() ? std::optional(answer["boots"].number()) : std::nullopt;
}

bool takeReboot() {
    return std::exchange(g_rebooted, false);
}

void whenRebooted(std::function<void()> callback) {
    g_whenRebooted = std::move(callback);
}

}  // namespace tool
