// SPDX-License-Identifier: Apache-2.0
// The hub: what clients ask for, and who may change the set.
#include <algorithm>
#include <set>

#include "hub/hub.h"

namespace tool {

namespace {

// Requests that look at the set and leave it as it is. A client that has no claim may send them at any time.
const std::set<std::string>& lookingMethods() {
    static const std::set<std::string> methods = {
        "check",     "data",      "describe",   "env.kept", "env.read",       "events",
        "file.list", "file.read", "journal",    "log",      "partition.list", "partition.read",
        "picture",   "refusals",  "set.damage", "set.log",  "set.ports",      "set.show"};
    return methods;
}

// Whether the request changes the set for all clients at once: what runs of the others, or what is logged of it. Only
// the holder of the claim may do that, also when it shares the set.
bool changesForAll(const Request& request) {
    static const std::set<std::string> methods = {"end-worker", "log-switch", "set.repair", "set.restore"};
    return methods.count(request.method) != 0 || (request.method == "power" && request.params["to"] != Field("on"));
}

// Returns what the parameters of a call or an act name.
std::string nameIn(const Request& request) {
    const Field& name = request.params[request.method == "act" ? "action" : "operation"];
    return name.isText() ? name.text() : "";
}

}  // namespace

const std::map<std::string, Hub::Method>& Hub::methods() {
    static const std::map<std::string, Method> methods = {{"hello", &Hub::hello},
                                                          {"claim", &Hub::claim},
                                                          {"release", &Hub::release},
                                                          {"take", &Hub::takeClaim},
                                                          {"clients", &Hub::listClients},
                                                          {"share", &Hub::share},
                                                          {"ping", &Hub::ping},
                                                          {"events", &Hub::watch},
                                                          {"journal", &Hub::watch},
                                                          {"log", &Hub::watch},
                                                          {"console", &Hub::watch},
                                                          {"describe", &Hub::describe},
                                                          {"cancel", &Hub::cancel},
                                                          {"again", &Hub::again},
                                                          {"power", &Hub::power},
                                                          {"prompts", &Hub::prompts},
                                                          {"prompt", &Hub::prompt},
                                                          {"answer", &Hub::takeAnswer},
                                                          {"prompt.refuse", &Hub::refuseAnswer},
                                                          {"prompt.close", &Hub::closePrompt},
                                                          {"runs", &Hub::watchRuns},
                                                          {"progress", &Hub::progress}};
    return methods;
}

void Hub::take(HubClient& client, Line line) {
    const auto refuseLine = [&](std::optional<long long> id, ErrorCode code, const std::string& text) {
        client.answer(frame(toField(failed(id, code, text)), Framing::plain));
    };
    if (line.kind != Line::Kind::message) {
        const bool isLong = line.kind == Line::Kind::tooLong;
        refuseLine(std::nullopt, isLong ? ErrorCode::noRequest : ErrorCode::noJson,
                   isLong ? "a message of more than 16 MiB" : "no object of JSON");
        return;
    }
    const std::optional<long long> id = idOf(line.object);
    try {
        Message message = parseMessage(std::move(line.object));
        if (message.request) {
            if (line.isOutline) {
                message.request->text = std::move(line.text);
            }
            handle(client, mayPassUnread(client, *message.request) ? std::move(*message.request)
                                                                   : whole(std::move(*message.request)));
        } else if (message.answer) {
            refuseLine(std::nullopt, ErrorCode::noRequest, "an answer, but nothing was asked");
        }
    } catch (const MessageError& error) {
        refuseLine(id, ErrorCode::noRequest, error.what());
    }
}

// Whether the agent gets the request as it came, whatever its parameters are: most calls.
bool Hub::mayPassUnread(const HubClient& client, const Request& request) const {
    const bool isCall = request.method == "call" || request.method == "act";
    return isCall && isFreeFor(client, request) && client.hasGreeted && isUp() && _wire->framing() == Framing::plain;
}

void Hub::handle(HubClient& client, const Request& request) {
    if (!client.hasGreeted && request.method != "hello") {
        refuse(client, request, ErrorCode::noRequest, "the first request must be hello");
        return;
    }
    const auto own = methods().find(request.method);
    try {
        (this->*(own == methods().end() ? &Hub::pass : own->second))(client, request);
    } catch (const MessageError& error) {
        refuse(client, request, ErrorCode::wrongParameters, error.what());
    }
}

void Hub::hello(HubClient& client, const Request& request) {
    const Field::List& versions = request.params.at("protocol").list();
    const std::string name = request.params["name"].textOr("");
    if (versions.size() != 2 || versions[0].number() > kProtocolNewest || versions[1].number() < kProtocolOldest) {
        refuse(client, request, ErrorCode::notSupported, "the hub speaks another version of the protocol",
               {{"protocol", Field::List{kProtocolOldest, kProtocolNewest}}});
        return;
    }
    if (!isUp()) {
        hold(client, request);
        return;
    }
    client.hasGreeted = true;
    client.name = name;
    client.isObserver = request.params["observer"].flagOr(false);
    Field result = _hello;
    result.set("wire", _hello["framing"]);
    result.set("framing", kPlainName);
    result.set("client", client.id);
    result.set("hub", getpid());
    answer(client, request, std::move(result));
}

void Hub::claim(HubClient& client, const Request& request) {
    const std::string reason = request.params["reason"].textOr("");
    if (_claim.holder != 0 && _claim.holder != client.id) {
        refuse(client, request, ErrorCode::claimed, claimText(), claimField());
        return;
    }
    setClaim({client.id, reason, _claim.isShared}, false);
    answer(client, request, Field::Fields());
}

void Hub::release(HubClient& client, const Request& request) {
    if (_claim.holder == client.id) {
        setClaim({}, false);
    }
    answer(client, request, Field::Fields());
}

void Hub::takeClaim(HubClient& client, const Request& request) {
    const std::string reason = request.params.at("reason").text();
    if (reason.empty()) {
        throw MessageError("taking the claim needs a reason");
    }
    const Field previous = _claim.holder == 0 ? Field() : claimField();
    setClaim({client.id, reason, false}, _claim.holder != 0 && _claim.holder != client.id);
    answer(client, request, {{"previous", previous}});
}

void Hub::share(HubClient& client, const Request& request) {
    const bool on = request.params.at("on").flag();
    if (_claim.holder != client.id) {
        refuse(client, request, ErrorCode::claimed, "only the client that has the claim shares it", claimField());
        return;
    }
    setClaim({client.id, _claim.reason, on}, false);
    answer(client, request, Field::Fields());
}

void Hub::listClients(HubClient& asker, const Request& request) {
    Field list = Field::List();
    for (const auto& [id, known] : _clients) {
        Field watches = Field::List();
        for (const std::string& kind : known->watches) {
            watches.add(kind);
        }
        const bool isHolder = id == _claim.holder;
        Field& row = list.add({{"id", id}, {"name", known->name}, {"pid", known->pid}, {"since", known->since}});
        row.set("observer", known->isObserver);
        row.set("claim", isHolder);
        row.set("shared", isHolder && _claim.isShared);
        if (isHolder) {
            row.set("reason", _claim.reason);
        }
        row.set("watches", watches);
    }
    answer(asker, request, {{"clients", list}});
}

void Hub::ping(HubClient& client, const Request& request) {
    answer(client, request, Field::Fields());
}

// Subscribes the client; the agent is asked only for the first client of a kind and for the last.
void Hub::watch(HubClient& client, const Request& request) {
    const std::string& kind = request.method;
    const bool on = request.params.at("on").flag();
    const bool isHubs = kind == "console";
    if (!isHubs && !isUp()) {
        hold(client, request);
        return;
    }
    const bool was = isWatched(kind);
    if (on) {
        client.watches.insert(kind);
    } else {
        client.watches.erase(kind);
    }
    // The agent sends what it has of the journal each time it is asked for it.
    const bool flushes = kind == "journal" && on;
    // As long as it has not answered another client, nothing may be on yet.
    const bool isAsked =
        std::any_of(_open.begin(), _open.end(), [&](const auto& entry) { return entry.second.method == kind; });
    if (!isHubs && (was != isWatched(kind) || flushes || isAsked)) {
        forward(client, request);
    } else {
        answer(client, request, Field::Fields());
    }
}

void Hub::describe(HubClient& client, const Request& request) {
    if (!isUp()) {
        hold(client, request);
    } else if (_description) {
        answer(client, request, _description->field());
    } else {
        holdForDescription(client, request);
    }
}

// Cancels a request of the same client, wherever it is.
void Hub::cancel(HubClient& client, const Request& request) {
    const long long id = request.params.at("id").number();
    const auto isMeant = [&](const Held& held) { return held.client == client.id && held.request.id == id; };
    for (std::deque<Held>* held : {&_held, &_heldForDescription}) {
        const auto found = std::find_if(held->begin(), held->end(), isMeant);
        if (found != held->end()) {
            const Request canceled = found->request;
            held->erase(found);
            --client.open;
            refuse(client, canceled, ErrorCode::canceled, "canceled");
            answer(client, request, {{"unqueued", true}});
            return;
        }
    }
    const auto open = std::find_if(_open.begin(), _open.end(), [&](const auto& entry) {
        return entry.second.client == client.id && entry.second.request == id;
    });
    if (open != _open.end() && _isReturning) {
        // No client waits for it any more, so it is canceled when the wire is there again.
        open->second.client = kGoneClient;
        --client.open;
        refuse(client, {id, "", {}, {}}, ErrorCode::canceled, "canceled while the wire was lost");
        answer(client, request, {{"unqueued", true}});
        return;
    }
    if (open == _open.end() || !isUp()) {
        answer(client, request, {{"unqueued", false}, {"begun", false}});
        return;
    }
    forward(client, {request.id, request.method, {{"id", open->first}}, {}});
}

void Hub::again(HubClient& client, const Request& request) {
    refuse(client, request, ErrorCode::notSupported, "nothing is lost between hub and client");
}

// --- Questions -------------------------------------------------------------------------------------------------------

HubPrompts::Sends Hub::promptSends() {
    const auto lineOf = [](const std::string& method, const Field& params) {
        return std::make_shared<const std::string>(frame(toField(Notification{method, params}), Framing::plain));
    };
    HubPrompts::Sends sends;
    sends.answer = [this](long long id, long long request, Field result) {
        if (HubClient* asker = client(id)) {
            answer(*asker, {request, "", {}, {}}, std::move(result));
        }
    };
    sends.notify = [this, lineOf](long long id, const std::string& method, const Field& params) {
        if (HubClient* asker = client(id)) {
            asker->send(lineOf(method, params));
        }
    };
    sends.announce = [this, lineOf](const Field& params) {
        const SharedLine line = lineOf("prompt", params);
        for (const auto& [id, known] : _clients) {
            const bool follows = known->watches.count(kPromptWatch) + known->watches.count(kQuestionWatch) != 0;
            if (follows && !known->isGone) {
                known->send(line);
            }
        }
    };
    return sends;
}

// The client follows questions, and has a person who can answer them unless it says otherwise.
void Hub::prompts(HubClient& client, const Request& request) {
    const bool on = request.params.at("on").flag(), answers = request.params["answers"].flagOr(true);
    client.watches.erase(kPromptWatch);
    client.watches.erase(kQuestionWatch);
    if (on) {
        client.watches.insert(answers ? kPromptWatch : kQuestionWatch);
    }
    answer(client, request, {{"open", _prompts.list()}});
}

void Hub::prompt(HubClient& client, const Request& request) {
    const Field asker = {{"client", client.id}, {"name", client.name}, {"pid", client.pid}, {"since", wallTime()}};
    answer(client, request, {{"prompt", _prompts.open(client.id, request.params, asker)}});
}

void Hub::takeAnswer(HubClient& client, const Request& request) {
    _prompts.answer(client.id, request, client.name);
}

void Hub::refuseAnswer(HubClient& client, const Request& request) {
    _prompts.refuse(client.id, request.params);
    answer(client, request, Field::Fields());
}

void Hub::closePrompt(HubClient& client, const Request& request) {
    _prompts.close(client.id, request.params);
    answer(client, request, Field::Fields());
}

// --- What is passed on -----------------------------------------------------------------------------------------------

// Passes a request on to the agent, if the client may make it.
void Hub::pass(HubClient& client, const Request& request) {
    if (!isUp()) {
        hold(client, request);
        return;
    }
    const bool isCall = request.method == "call" || request.method == "act";
    if (isFreeFor(client, request)) {
        forward(client, request);
    } else if (isCall && !_description) {
        holdForDescription(client, request);
    } else if (needsClaim(request)) {
        refuse(client, request, ErrorCode::claimed, claimText(), claimField());
    } else {
        // Bringing something up for a look would be a change.
        Request look = request;
        if (look.params["prepare"].flagOr(false)) {
            look.params.set("prepare", false);
        }
        forward(client, look);
    }
}

bool Hub::isFreeFor(const HubClient& client, const Request& request) const {
    const bool isOthers = _claim.holder != 0 && _claim.holder != client.id;
    return !isOthers || (_claim.isShared && !changesForAll(request));
}

bool Hub::needsClaim(const Request& request) {
    if (request.method == "call") {
        const Operation* operation = _description->operation(nameIn(request));
        return operation == nullptr || operation->danger != Danger::reads;
    }
    if (request.method == "act") {
        const Action* action = _description->all().action(nameIn(request));
        return action == nullptr || action->danger != Danger::reads;
    }
    return lookingMethods().count(request.method) == 0;
}

void Hub::setClaim(const Claim& claim, bool isTaken) {
    _claim = claim;
    Field params = claimField();
    params.set("taken", isTaken);
    notifyAll("claim", params);
}

Field Hub::claimField() const {
    const auto holder = _clients.find(_claim.holder);
    if (holder == _clients.end()) {
        return {{"holder", nullptr}};
    }
    return {{"holder", _claim.holder},        {"name", holder->second->name}, {"pid", holder->second->pid},
            {"since", holder->second->since}, {"reason", _claim.reason},      {"shared", _claim.isShared}};
}

std::string Hub::claimText() const {
    const auto holder = _clients.find(_claim.holder);
    if (holder == _clients.end()) {
        return "no client has claimed the set";
    }
    return holder->second->name + " (process " + std::to_string(holder->second->pid) + ") has claimed the set" +
           (_claim.reason.empty() ? "" : ": " + _claim.reason);
}

bool Hub::isWatched(const std::string& kind) const {
    return std::any_of(_clients.begin(), _clients.end(),
                       [&](const auto& known) { return known.second->watches.count(kind) != 0; });
}

void Hub::answer(HubClient& client, const Request& request, Field result) {
    client.answer(frame(toField(Answer{request.id, std::move(result), {}}), Framing::plain));
}

void Hub::refuse(HubClient& client, const Request& request, ErrorCode code, const std::string& text, Field data) {
    client.answer(frame(toField(failed(request.id, code, text, std::move(data))), Framing::plain));
}

}  // namespace tool
