// SPDX-License-Identifier: Apache-2.0
// The hub: what goes to the agent and comes from it.
#include <algorithm>

#include "hub/description_cache.h"
#include "hub/hub.h"

namespace tool {

namespace {

// Notifications that only those clients get that have asked for them, and by which method.
const std::map<std::string, std::string>& askedFor() {
    static const std::map<std::string, std::string> kinds = {
        {"console", "console"}, {"event", "events"}, {"journal", "journal"}, {"log", "log"}};
    return kinds;
}

// How long a wire that may lose lines is silent before what has not come is asked for.
constexpr std::chrono::seconds kSilence{2};

// Whether it is the rest of a message whose beginning was damaged.
bool isSpoilt(const Line& line) {
    return line.kind == Line::Kind::console && line.text.find(R"("jsonrpc":"2.0")") != std::string::npos;
}

constexpr std::size_t kMostBlankLines = 61;

// How a message begins in the framing of a wire that has been greeted.
constexpr char kMessageBegin = '@';

MessageFailure failureOf(const Envelope& answer) {
    return *parseMessage(parseJsonText(answer.text)).answer->failure;
}

}  // namespace

void Hub::startWire() {
    if (_wire || _nextTry) {
        // When the one that ends is gone, another is started for the requests that are held.
        return;
    }
    _isGreeted = false;
    try {
        _wire = std::make_unique<AgentWire>(_options.wire.command);
    } catch (const RequestError& error) {
        refuseHeld(_held, error.failure());
        return;
    }
    if (mayReturn() && !_upUntil) {
        _upUntil = Clock::now() + _options.wire.upWithin;
    }
    if (_options.wire.isChecked) {
        _wire->sendIn(Framing::checked);
    }
    _wire->converse(_options.wire.start);
    _quietSince = _heard = Clock::now();
    _isHelloDue = true;
    interruptLong();
    if (!_wire->isConversing()) {
        sendHello();
    }
}

void Hub::sendHello() {
    _isHelloDue = false;
    const Field framings = Field::List{_options.wire.isChecked ? kCheckedName : kPlainName};
    Field params = {{"protocol", Field::List{kProtocolOldest, kProtocolNewest}}, {"framings", framings}};
    if (_isReturning) {
        params.set("session", _session);
    }
    askAgent("hello", params, [this](const Envelope& answer) { receiveHello(answer); });
}

void Hub::askAgent(const std::string& method, const Field& params, std::function<void(const Envelope&)> then) {
    const long long id = ++_lastId;
    _open[id] = {0, 0, method, std::move(then), {}};
    sendToAgent({id, method, params});
}

void Hub::forward(HubClient& client, const Request& request) {
    const long long id = ++_lastId;
    _open[id] = {client.id, request.id, request.method, nullptr, {}};
    try {
        auto text = _options.wire.isChecked ? std::nullopt : requestWithId(request.text, id);
        if (text) {
            _wire->sendText(std::move(*text));
        } else {
            sendToAgent({id, request.method, whole(request).params});
        }
    } catch (const MessageError&) {
        // With this id it is longer than a message may be.
        _open.erase(id);
        throw;
    }
    ++client.open;
}

void Hub::sendToAgent(Request request) {
    if (_options.wire.isChecked) {
        // Answers may come in another order than their requests; those of before a lost wire may still be wanted.
        request.acknowledged = _open.begin()->first - 1;
        if (request.method != "hello") {
            _open[request.id].sent = request;
        }
    }
    _wire->send(toField(std::move(request)));
}

void Hub::hold(HubClient& client, const Request& request) {
    ++client.open;
    _held.push_back({client.id, request});
    startWire();
}

void Hub::holdForDescription(HubClient& client, const Request& request) {
    ++client.open;
    _heldForDescription.push_back({client.id, request});
    needDescription();
}

void Hub::handleHeld(std::deque<Held>& held) {
    for (Held& next : std::exchange(held, {})) {
        if (HubClient* asker = client(next.client)) {
            --asker->open;
            handle(*asker, next.request);
        }
    }
}

void Hub::refuseHeld(std::deque<Held>& held, const MessageFailure& failure) {
    for (const Held& next : std::exchange(held, {})) {
        if (HubClient* asker = client(next.client)) {
            --asker->open;
            refuse(*asker, next.request, failure.code, failure.text, failure.data);
        }
    }
}

void Hub::receive(Line& line) {
    if (line.kind == Line::Kind::message || !_isGreeted) {
        // A console goes on to print when no agent answers any more.
        _quietSince = _heard = Clock::now();
    }
    if (!_isGreeted && !line.text.empty() && line.text.front() == kMessageBegin) {
        // An agent is there, and what it has said to a wire of before comes first.
        _pause = kFirstPause;
    }
    if (line.kind == Line::Kind::tooLong) {
        // It may have been the answer to any request.
        _wire->closeFor("sends more than 16 MiB without a newline");
    } else if (_isGreeted && _options.wire.isChecked && (line.kind == Line::Kind::damaged || isSpoilt(line))) {
        noteDamage("a message came damaged");
        if (mayReturn() && !_upUntil) {
            // One on which everything is damaged is as good as lost.
            _upUntil = Clock::now() + _options.wire.upWithin;
            _whyLost = "all came damaged";
        }
        askAgain();
    } else if (line.kind == Line::Kind::message) {
        try {
            receiveMessage(std::move(line.text));
            return;
        } catch (const MessageError& error) {
            line.text = std::string("a message that is none: ") + error.what();
        }
    }
    notifyWatchers("console", frame(toField(Notification{"console", {{"text", line.text}}}), Framing::plain));
}

void Hub::receiveMessage(std::string text) {
    const Envelope envelope = openEnvelope(std::move(text));
    if (envelope.id) {
        receiveAnswer(envelope);
    } else if (envelope.isFailure) {
        // The agent could not read a request.
        askAgain();
    } else if (!isRepeated(envelope)) {
        receiveNotification(envelope);
    }
}

// What was damaged may have been a notification, which does not come again: the clients have to know.
void Hub::noteDamage(const std::string& what) {
    notifyAll("wire", {{"state", "damaged"}, {"reason", what}});
}

// Whether the notification has come already: a wire may double lines. A gap in the numbers is damage.
bool Hub::isRepeated(const Envelope& notification) {
    if (!_options.wire.isChecked || notification.method == "stream") {
        return false;
    }
    if (notification.method == "worker") {
        // Another worker counts from 1.
        _lastSeq.clear();
        return false;
    }
    const Field params = parseJsonText(notification.text)["params"];
    const long long seq = params["seq"].numberOr(0);
    if (seq == 0) {
        return false;
    }
    const auto [last, isFirst] = _lastSeq.emplace(notification.method, seq);
    if (isFirst) {
        return false;
    }
    if (seq <= last->second) {
        return true;
    }
    if (seq != last->second + 1 && !params.has("dropped")) {
        noteDamage("a message is missing");
    }
    last->second = seq;
    return false;
}

// Asks for all answers that have not come, one after the other: one of them, or its request, may be what was damaged.
void Hub::askAgain() {
    if (_options.wire.isChecked) {
        // Noise may keep time with what is asked again: each time it comes a little later.
        _blankLines = _blankLines % kMostBlankLines + 1;
        _wire->sendBlankLines(_blankLines);
        askForLong();
    }
    if (_asking != 0) {
        // It may be this question that was damaged. All others are asked once more after it.
        _isInDoubt = true;
        _wire->send(toField(*_open[_asking].sent));
        return;
    }
    for (const auto& [id, open] : _open) {
        if (open.sent) {
            _doubtful.push_back(id);
        }
    }
    askNext();
}

void Hub::askNext() {
    _asking = 0;
    while (!_doubtful.empty() && _open.count(_doubtful.front()) == 0) {
        _doubtful.pop_front();
    }
    if (_doubtful.empty()) {
        if (std::exchange(_isInDoubt, false)) {
            askAgain();
        }
        return;
    }
    const long long id = _doubtful.front();
    _doubtful.pop_front();
    _asking = _lastId + 1;
    askAgent("again", {{"id", id}}, [this, id](const Envelope& answer) {
        const Field result = parseJsonText(answer.text)["result"];
        const auto open = _open.find(id);
        if (result["running"].flagOr(false)) {
            noteProgress();
        } else if (!result["kept"].flagOr(true) && open != _open.end()) {
            // The agent has never had the request.
            _wire->send(toField(*open->second.sent));
        }
        askNext();
    });
}

// On a wire that may lose lines, silence may be a lost line.
void Hub::breakSilence() {
    const bool waits = !_open.empty() || !_streams.empty() || !_isGreeted;
    if (!_options.wire.isChecked || !_wire || _wire->isClosed() || !waits || Clock::now() < _quietSince + kSilence) {
        return;
    }
    _quietSince = Clock::now();
    if (_isGreeted) {
        askAgain();
    } else {
        // Also at a console that does not print what was waited for: the agent may run there already.
        sendHello();
    }
}

void Hub::receiveAnswer(const Envelope& answer) {
    const auto found = _open.find(*answer.id);
    if (found == _open.end()) {
        // It was asked for again, and has come twice.
        return;
    }
    const Open open = std::move(found->second);
    _open.erase(found);
    const bool isOwn = !answer.isFailure && (open.method == "part" || open.method == "describe");
    if (open.client != 0 || isOwn) {
        // All else is asked again of each wire, and brings no client what it has asked for.
        noteProgress();
    }
    if (open.then) {
        open.then(answer);
    }
    HubClient* asker = client(open.client);
    if (asker == nullptr) {
        return;
    }
    --asker->open;
    if (const std::optional<long long> stream = announcedStream(answer)) {
        _streams[*stream] = asker->id;
    }
    if (answer.isFailure) {
        // Nothing to watch, if that is what was asked for.
        asker->watches.erase(open.method);
    }
    asker->answer(withId(answer, open.request) + "\n");
}

void Hub::receiveNotification(const Envelope& notification) {
    const std::string line = notification.text + "\n";
    if (notification.method == "stream") {
        const StreamPiece piece = pieceOf(notification);
        const auto stream = _streams.find(piece.id);
        HubClient* reader = stream == _streams.end() ? nullptr : client(stream->second);
        if (reader != nullptr) {
            reader->send(std::make_shared<const std::string>(line));
        }
        if (piece.isLast && stream != _streams.end()) {
            _streams.erase(stream);
        }
    } else if (notification.method == "long") {
        readLong(parseJsonText(notification.text)["params"]["last"].numberOr(0));
    } else {
        notifyWatchers(notification.method, line);
    }
}

// Says to those that read a stream that nothing more of it comes.
void Hub::endStreams(const MessageFailure& failure) {
    const Field error = {{"code", static_cast<int>(failure.code)}, {"message", failure.text}};
    for (const auto& [id, readerId] : std::exchange(_streams, {})) {
        if (HubClient* reader = client(readerId)) {
            const Notification end = {"stream", {{"id", id}, {"error", error}}};
            reader->send(std::make_shared<const std::string>(frame(toField(end), Framing::plain)));
        }
    }
}

// Sends the line to the clients that want notifications of that method.
void Hub::notifyWatchers(const std::string& method, const std::string& line) {
    const auto kind = askedFor().find(method);
    const auto shared = std::make_shared<const std::string>(line);
    for (const auto& [id, known] : _clients) {
        const bool wants = kind == askedFor().end() ? known->hasGreeted : known->watches.count(kind->second) != 0;
        if (wants && !known->isGone) {
            known->notify(method, shared);
        }
    }
}

void Hub::notifyAll(const std::string& method, const Field& params) {
    notifyWatchers(method, frame(toField(Notification{method, params}), Framing::plain));
}

void Hub::receiveHello(const Envelope& answer) {
    if (_isGreeted) {
        // It was sent twice, because an answer was missing.
        return;
    }
    if (answer.isFailure) {
        refuseHeld(_held, failureOf(answer));
        _wire->close();
        return;
    }
    const Field described = _hello["description"];
    _hello = parseJsonText(answer.text)["result"];
    _isGreeted = true;
    if (_hello["framing"] == Field(kCheckedName)) {
        _wire->use(Framing::checked);
    }
    if (_hello["description"] != described) {
        _description.reset();
    }
    const std::string session = _hello["session"].textOr("");
    const bool isSame = session == _session;
    if (!isSame) {
        forgetLong();
    }
    if (!std::exchange(_session, session).empty()) {
        notifyAll("wire", {{"state", "started"}, {"session", session}, {"same", isSame}});
    }
    finishReturn(isSame);
    for (const auto& [notification, method] : askedFor()) {
        if (method != "console" && isWatched(method)) {
            askAgent(method, {{"on", true}}, nullptr);
        }
    }
    handleHeld(_held);
}

// Reads the description, unless that is under way; then the requests that wait for it are handled.
void Hub::needDescription() {
    if (_isDescribing) {
        return;
    }
    if (std::optional<AgentDescription> kept = keptDescription(_hello["description"].textOr(""))) {
        useDescription(std::move(*kept));
        return;
    }
    _isDescribing = true;
    askAgent("describe", Field::Fields(), [this](const Envelope& answer) {
        _isDescribing = false;
        if (answer.isFailure) {
            refuseHeld(_heldForDescription, failureOf(answer));
            return;
        }
        try {
            const Field described = parseJsonText(answer.text)["result"];
            keepDescription(_hello["description"].textOr(""), described);
            useDescription(AgentDescription(described));
        } catch (const MessageError& error) {
            refuseHeld(_heldForDescription, {ErrorCode::internal, error.what(), {}});
        }
    });
}

void Hub::useDescription(AgentDescription described) {
    try {
        // A client is refused that asks for what cannot be read, and not by each of its requests.
        described.all();
    } catch (const MessageError& error) {
        refuseHeld(_heldForDescription, {ErrorCode::internal, error.what(), {}});
        return;
    }
    _description = std::move(described);
    handleHeld(_heldForDescription);
}

// Answers all that was asked of an agent that is gone, and starts another when more was asked meanwhile.
void Hub::endWire() {
    const bool wasGreeted = _isGreeted;
    if (mayReturn() && (wasGreeted || _isReturning)) {
        awaitReturn();
        return;
    }
    const MessageFailure failure = {wasGreeted ? ErrorCode::ended : ErrorCode::unavailable, _wire->reason(), {}};
    _wire.reset();
    _isGreeted = false;
    _upUntil.reset();
    failOpen(failure);
    refuseHeld(_heldForDescription, failure);
    if (!wasGreeted) {
        if (!std::exchange(_hasGivenUp, false)) {
            refuseHeld(_held, failure);
        }
        // What was asked since then is asked of the next wire.
        handleHeld(_held);
        return;
    }
    notifyAll("wire", {{"state", "ended"}, {"reason", failure.text}});
    if (!_held.empty()) {
        startWire();
    }
}

}  // namespace tool
