// SPDX-License-Identifier: Apache-2.0
// What the supervisor does with requests.
#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "supervisor/internal.h"
#include "supervisor/supervisor.h"

namespace tool {

namespace {

// Methods that look, or act beside a call: they have a lane of their own.
constexpr std::string_view kLooking[] = {"act",     "check",   "data",     "describe", "events",
                                         "journal", "picture", "refusals", kIdentity};

// Methods of the worker for which the set may be switched off.
constexpr std::string_view kWithoutSet[] = {
    "check",          "describe", "env.kept",   "env.read",   "env.write", "events",     "file.list",   "journal",
    "partition.list", "refusals", "set.backup", "set.damage", "set.ports", "set.repair", "set.restore", kIdentity};

// Methods that a virtual set in the role of a board does not have on its wire.
constexpr std::string_view kOfVirtualSets[] = {"act",       "data",       "env.kept",    "env.read",   "env.write",
                                               "journal",   "picture",    "refusals",    "set.backup", "set.damage",
                                               "set.ports", "set.repair", "set.restore", "set.show"};

template <std::size_t count>
bool isOneOf(const std::string& method, const std::string_view (&methods)[count]) {
    return std::find(std::begin(methods), std::end(methods), method) != std::end(methods);
}

// The newest version that both ends speak; 0: there is none.
long long commonProtocol(const Field& range) {
    long long oldest = kProtocolOldest, newest = kProtocolNewest;
    if (!range.isNull()) {
        if (range.list().size() != 2) {
            throw MessageError("\"protocol\" is not the oldest and the newest version");
        }
        oldest = range.list()[0].number();
        newest = range.list()[1].number();
    }
    const long long common = std::min(newest, kProtocolNewest);
    return common >= std::max(oldest, kProtocolOldest) ? common : 0;
}

// The first one of the list that this agent has.
const char* commonFraming(const Field& names) {
    if (!names.isNull()) {
        for (const Field& name : names.list()) {
            for (const char* known : {kPlainName, kCheckedName}) {
                if (name.text() == known) {
                    return known;
                }
            }
        }
    }
    return kPlainName;
}

// Whether what is no line of checked framing is a request in plain framing: hello.
bool isPlainHello(const Line& line) {
    if (line.kind == Line::Kind::message || line.text.rfind('{', 0) != 0) {
        return false;
    }
    try {
        return parseJsonText(line.text)["method"] == Field("hello");
    } catch (const MessageError&) {
        return false;
    }
}

}  // namespace

void Supervisor::takeLines() {
    while (mayRead()) {
        std::optional<Line> line = _wire.next();
        if (!line) {
            return;
        }
        takeLine(std::move(*line));
        dispatch();
    }
}

void Supervisor::takeLine(Line line) {
    Field object = std::move(line.object);
    if (isPlainHello(line) && _wire.framing() == Framing::checked) {
        // A client that finds this agent on its wire knows nothing of the framing that another one has agreed on.
        _wire.dropUnwritten();
        _wire.use(Framing::plain);
        object = parseJsonText(line.text);
    } else if (line.kind == Line::Kind::console) {
        return;
    } else if (line.kind == Line::Kind::tooLong) {
        return send(failed(std::nullopt, ErrorCode::noRequest, "a message is too long"));
    } else if (line.kind != Line::Kind::message) {
        return send(failed(std::nullopt, ErrorCode::noJson, "a line that is no message: " + line.text.substr(0, 100)));
    }
    const std::optional<long long> id = idOf(object);
    try {
        Message message = parseMessage(std::move(object));
        if (!message.request) {
            throw MessageError("no request");
        }
        Request& request = *message.request;
        if (line.isOutline) {
            request.text = std::move(line.text);
        }
        takeRequest(request.method == "call" || request.method == "act" ? std::move(request)
                                                                        : whole(std::move(request)));
    } catch (const MessageError& error) {
        send(failed(id, ErrorCode::noRequest, error.what()));
    }
}

void Supervisor::takeRequest(Request request) {
    if (request.acknowledged) {
        _wire.forget(*request.acknowledged);
    }
    const auto hasIt = [&](const Lane& lane) {
        return (lane.running && lane.running->request.id == request.id && !lane.running->isAnswered) ||
               std::any_of(lane.waiting.begin(), lane.waiting.end(),
                           [&](const Request& other) { return other.id == request.id; });
    };
    const bool isKnown = std::any_of(_lanes.begin(), _lanes.end(), hasIt);
    if (_wire.framing() == Framing::checked && (isKnown || _wire.sendAgain(request.id))) {
        // A sender that does not know whether its request has arrived sends it once more. It is carried out once.
        return;
    }
    if (isKnown || request.id < 0) {
        return refuse(request, ErrorCode::noRequest, isKnown ? "a request has this id already" : "the id is negative");
    }
    if (!_isGreeted && request.method != "hello") {
        return refuse(request, ErrorCode::noRequest, "the first request is hello");
    }
    if (_hands && isOneOf(request.method, kOfVirtualSets)) {
        return refuse(request, ErrorCode::notSupported, request.method + ": a board does not have it");
    }
    try {
        if (answerHere(request)) {
            return;
        }
    } catch (const MessageError& error) {
        return refuse(request, ErrorCode::wrongParameters, error.what());
    }
    enqueue(std::move(request));
}

// A fixture's: what is done to the set from outside.
void Supervisor::takeFromHands(Request request) {
    if (request.method == "hello") {
        answer(request, {{"protocol", kProtocolNewest}, {"framing", kPlainName}, {"agent", FAPI_VERSION}});
    } else if (request.method == "describe") {
        request.params = {{"actions", true}};
        enqueue(std::move(request));
    } else if (request.method == "act" || request.method == "check") {
        enqueue(std::move(request));
    } else {
        refuse(request, ErrorCode::unknownMethod, "a fixture has the methods hello, describe, act and check");
    }
}

// Whether the request is the supervisor's own.
bool Supervisor::answerHere(const Request& request) {
    static constexpr std::pair<std::string_view, void (Supervisor::*)(const Request&)> kMethods[] = {
        {"again", &Supervisor::sendAgain},         {"cancel", &Supervisor::cancel},
        {"end-worker", &Supervisor::endWorkerFor}, {"hello", &Supervisor::greet},
        {"log", &Supervisor::listenToLog},         {"log-switch", &Supervisor::switchLog},
        {"long", &Supervisor::forgetMessages},     {"part", &Supervisor::sendPart},
        {"power", &Supervisor::switchPower},
    };
    for (const auto& [name, method] : kMethods) {
        if (request.method == name) {
            (this->*method)(request);
            return true;
        }
    }
    return false;
}

// --- hello -----------------------------------------------------------------------------------------------------------

void Supervisor::greet(const Request& request) {
    if (commonProtocol(request.params["protocol"]) == 0) {
        return refuse(request, ErrorCode::notSupported,
                      "no common version of the protocol: this agent speaks " + std::to_string(kProtocolOldest) +
                          " to " + std::to_string(kProtocolNewest),
                      {{"protocol", Field::List{kProtocolOldest, kProtocolNewest}}});
    }
    commonFraming(request.params["framings"]);
    if (_wire.framing() == Framing::checked) {
        // Whoever greets over such a wire has another one than before, and can ask again for what waits.
        _wire.dropUnwritten();
    }
    // No further line is read until it is answered, since their framing depends on it.
    _hello = request;
    if (_identity.isNull()) {
        enqueue({kIdentityId, kIdentity, {}});
    } else {
        finishGreeting({kIdentityId, _identity, std::nullopt});
    }
}

void Supervisor::finishGreeting(const Answer& identity) {
    if (!_hello) {
        return;
    }
    const Request request = *std::exchange(_hello, std::nullopt);
    if (identity.failure) {
        return refuse(request, identity.failure->code, identity.failure->text, identity.failure->data);
    }
    _identity = identity.result;
    const std::string framing = commonFraming(request.params["framings"]);
    Field result = {{"protocol", commonProtocol(request.params["protocol"])},
                    {"framing", framing},
                    {"agent", FAPI_VERSION},
                    {"session", _session}};
    for (const auto& [name, field] : _identity.fields()) {
        result.set(name, field);
    }
    _isGreeted = true;
    if (request.params["session"] != Field(_session)) {
        _wire.forgetAll();
    }
    answer(request, std::move(result));
    _wire.use(framing == kCheckedName ? Framing::checked : Framing::plain);
}

// --- Requests about requests -----------------------------------------------------------------------------------------

void Supervisor::sendAgain(const Request& request) {
    const long long id = request.params.at("id").number();
    const bool isKept = _wire.isKept(id);
    const auto isIt = [&](const Request& other) { return other.id == id; };
    const bool isKnown = std::any_of(_lanes.begin(), _lanes.end(), [&](const Lane& lane) {
        return (lane.running && isIt(lane.running->request)) ||
               std::any_of(lane.waiting.begin(), lane.waiting.end(), isIt);
    });
    answerRepeatable(request, {{"kept", isKept}, {"running", !isKept && isKnown}});
    _wire.sendAgain(id);
}

void Supervisor::sendPart(const Request& request) {
    const auto part = _wire.part(request.params.at("message").number(), request.params.at("number").number());
    if (!part) {
        return refuse(request, ErrorCode::unavailable, "no such part of a message is kept");
    }
    answerRepeatable(request, {{"parts", part->parts}, {"text", std::string(part->text)}});
}

void Supervisor::forgetMessages(const Request& request) {
    _wire.forgetMessages(request.params.at("read").number());
    answerRepeatable(request, {{"last", _wire.lastMessage()}});
}

void Supervisor::cancel(const Request& request) {
    const long long id = request.params.at("id").number();
    bool hasBegun = false;
    for (Lane& lane : _lanes) {
        const auto found = std::find_if(lane.waiting.begin(), lane.waiting.end(),
                                        [&](const Request& other) { return other.id == id; });
        if (found != lane.waiting.end()) {
            refuse(*found, ErrorCode::canceled, "canceled before it had begun");
            lane.waiting.erase(found);
            return answer(request, {{"unqueued", true}, {"begun", false}});
        }
        hasBegun = hasBegun || (lane.running && lane.running->request.id == id);
    }
    if (hasBegun) {
        // What can end early does so.
        tellWorker(kAside, "cancel", {{"id", id}});
    }
    answer(request, {{"unqueued", false}, {"begun", hasBegun}});
}

// --- The log ---------------------------------------------------------------------------------------------------------

void Supervisor::listenToLog(const Request& request) {
    _logIsOn = request.params.at("on").flag();
    answer(request, Field::Fields{});
}

void Supervisor::switchLog(const Request& request) {
    const std::string& state = request.params.at("state").text();
    if (state != "on" && state != "off" && state != "set" && state != "run") {
        throw MessageError("\"state\" is none of on, off, set, run");
    }
    _logSwitch = state;
    ++_logSwitches;
    for (const Way lane : {kCalls, kLooks}) {
        tellWorker(lane, kLogSwitched, {{"state", state}, {"number", _logSwitches}});
    }
    answer(request, Field::Fields{});
}

// --- Power, and the worker's end -------------------------------------------------------------------------------------

void Supervisor::switchPower(const Request& request) {
    static constexpr std::string_view kStates[] = {"create", "cycle", "off", "on", "reset"};
    const std::string& to = request.params.at("to").text();
    if (!isOneOf(to, kStates)) {
        throw MessageError("\"to\" is none of on, off, cycle, create, reset");
    }
    if (_identity["kind"] != Field("virtual")) {
        return refuse(request, ErrorCode::notSupported, "this set's power is not switched by the agent");
    }
    if (mustWait()) {
        return refuse(request, ErrorCode::begun, "a call runs that must finish");
    }
    if (to != "on") {
        endWorker("power");
    }
    // As when the plug is pulled: what waits for the worker comes after it.
    std::deque<Request>& waiting = _lanes[kCalls].waiting;
    waiting.insert(
        std::find_if(waiting.begin(), waiting.end(), [](const Request& other) { return other.method != "power"; }),
        request);
}

void Supervisor::endWorkerFor(const Request& request) {
    if (mustWait()) {
        return refuse(request, ErrorCode::begun, "a call runs that must finish");
    }
    endWorker("ended");
    _whenEnded.push_back(request);
}

// --- What the worker does --------------------------------------------------------------------------------------------

void Supervisor::enqueue(Request request) {
    request.acknowledged.reset();
    Lane& lane = _lanes[isOneOf(request.method, kLooking) ? kLooks : kCalls];
    lane.waiting.push_back(std::move(request));
}

void Supervisor::dispatch() {
    if (_isStuck) {
        return refuseWaiting(ErrorCode::stuck, kStuckText);
    }
    if (_goneUntil) {
        return;
    }
    if (_worker == nullptr) {
        for (const Request& request : std::exchange(_whenEnded, {})) {
            answer(request, Field::Fields{});
        }
    }
    for (Lane& lane : _lanes) {
        while (!lane.running && !lane.waiting.empty()) {
            Request request = std::move(lane.waiting.front());
            lane.waiting.pop_front();
            dispatch(lane, std::move(request));
        }
    }
}

void Supervisor::dispatch(Lane& lane, Request request) {
    if (request.method == "power") {
        _isOff = request.params["to"] == Field("off");
        if (_isOff) {
            return answer(request, {{"boots", _boots}});
        }
    } else if (_isOff && !isOneOf(request.method, kWithoutSet)) {
        return refuse(request, ErrorCode::ended, "the set is switched off");
    }
    if (request.method == "events" || request.method == "journal") {
        _subscriptions.set(request.method, request.params);
    }
    const Request bare = {request.id, request.method, {}};
    try {
        if (_worker == nullptr) {
            startWorker();
        }
        lane.running = Running{bare, false, false, false, {}};
        std::string text = request.text.empty() ? toJsonText(toField(std::move(request))) : std::move(request.text);
        _worker->send(&lane == &_lanes[kCalls] ? kCalls : kLooks, frameText(std::move(text), Framing::plain));
    } catch (const std::runtime_error& error) {
        lane.running.reset();
        const std::string text = std::string("no worker: ") + error.what();
        bare.id == kIdentityId ? finishGreeting(failed(bare.id, ErrorCode::unavailable, text))
                               : refuse(bare, ErrorCode::unavailable, text);
    }
}

void Supervisor::refuseWaiting(ErrorCode code, const std::string& text) {
    for (Lane& lane : _lanes) {
        for (const Request& request : std::exchange(lane.waiting, {})) {
            request.id == kIdentityId ? finishGreeting(failed(request.id, code, text)) : refuse(request, code, text);
        }
    }
    for (const Request& request : std::exchange(_whenEnded, {})) {
        refuse(request, code, text);
    }
}

}  // namespace tool
