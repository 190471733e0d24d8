// SPDX-License-Identifier: Apache-2.0
// A set as a client of its hub has it: requests, streams, notifications.
#include "target/target.h"

#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>

#include "hub/agent_wire.h"
#include "hub/description_cache.h"
#include "hub/envelope.h"
#include "protocol/sha256.h"

namespace tool {

namespace {

constexpr std::size_t kReadSize = 256 << 10;

RequestError brokenStream(const std::string& what) {
    return RequestError(ErrorCode::stationFailed, "the data did not come whole: " + what);
}

// The text of a request, for which the parameters are not copied.
std::string requestText(long long id, const std::string& method, const Field& params) {
    std::string text = toJsonText(toField(Request{id, method, {}, {}}));
    if (!params.isNull()) {
        text.pop_back();
        text.append(",\"params\":").append(toJsonText(params)).append("}");
    }
    return text;
}

// Compares the pieces of a stream with what its end says of them.
class StreamCheck {
public:
    void add(long long number, const Bytes& piece) {
        if (_next ? number != *_next : number < 0 || number > 1) {
            throw brokenStream("piece " + std::to_string(number) + " is out of order");
        }
        _next = number + 1;
        _sum.add(piece.data(), piece.size());
        _bytes += static_cast<long long>(piece.size());
    }
    void end(const Field& last) {
        if (last.at("bytes").number() != _bytes) {
            throw brokenStream(std::to_string(_bytes) + " bytes of " + std::to_string(last["bytes"].number()));
        }
        if (last.at("sha256").text() != _sum.sum()) {
            throw brokenStream("its SHA-256 is another");
        }
    }

private:
    Sha256 _sum;
    long long _bytes = 0;
    std::optional<long long> _next;
};

}  // namespace

// Waits until the hub has let go of it, which it does with its last client only when the set is free.
Target::~Target() {
    constexpr std::chrono::seconds kLimit{5};
    if (!_connection || shutdown(_connection.get(), SHUT_WR) != 0) {
        return;
    }
    const auto end = std::chrono::steady_clock::now() + kLimit;
    pollfd connection = {_connection.get(), POLLIN, 0};
    char piece[4096];
    for (;;) {
        const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (rest.count() <= 0 || poll(&connection, 1, static_cast<int>(rest.count())) == 0) {
            return;
        }
        const ssize_t length = recv(_connection.get(), piece, sizeof(piece), MSG_DONTWAIT);
        if (length == 0 || (length < 0 && errno != EINTR && errno != EAGAIN)) {
            return;
        }
    }
}

AgentDescription Target::description() {
    const std::string hash = _hello["description"].textOr("");
    if (std::optional<AgentDescription> kept = keptDescription(hash)) {
        return std::move(*kept);
    }
    const Field described = request("describe");
    keepDescription(hash, described);
    return AgentDescription(described);
}

Field Target::request(const std::string& method, const Field& params) {
    return finish(begin(method, params));
}

long long Target::begin(const std::string& method, const Field& params) {
    const long long id = ++_lastId;
    _out += frameText(requestText(id, method, params), Framing::plain);
    write();
    return id;
}

Field Target::finish(long long id) {
    struct Waiting {
        Waiting(std::optional<long long>& awaited, long long id) : now(awaited), before(std::exchange(awaited, id)) {}
        ~Waiting() { now = before; }
        std::optional<long long>& now;
        const std::optional<long long> before;
    } const waiting(_awaited, id);
    while (!isFinished(id)) {
        if (!_lost.empty()) {
            throw RequestError(ErrorCode::ended, _lost);
        }
        wait(std::nullopt);
    }
    const auto found = _answers.find(id);
    Answer answer = std::move(found->second);
    _answers.erase(found);
    if (answer.failure) {
        throw RequestError(*answer.failure);
    }
    return std::move(answer.result);
}

void Target::endAwaited() {
    if (_awaited && request("cancel", {{"id", *_awaited}})["begun"].flagOr(false)) {
        request("end-worker");
    }
}

Field Target::read(const std::string& method, const Field& params, const Sink& sink) {
    Field answer = request(method, params);
    const long long stream = answer.at("stream").number();
    StreamCheck check;
    try {
        for (;;) {
            const Field piece = nextPiece(stream);
            if (piece.has("error")) {
                _streams.erase(stream);
                const Field& error = piece["error"];
                throw RequestError(
                    {static_cast<ErrorCode>(error.at("code").number()), error["message"].textOr(""), error["data"]});
            }
            if (piece.has("data")) {
                check.add(piece.at("piece").number(), piece["data"].bytes());
                sink(piece["data"].bytes());
            }
            if (piece.has("sha256")) {
                check.end(piece);
                _streams.erase(stream);
                return answer;
            }
        }
    } catch (...) {
        // The rest of it comes all the same.
        if (const auto found = _streams.find(stream); found != _streams.end()) {
            found->second = {{}, true};
        }
        throw;
    }
}

Field Target::nextPiece(long long stream) {
    std::deque<Field>& pieces = _streams[stream].pieces;
    while (pieces.empty()) {
        if (!_lost.empty()) {
            throw RequestError(ErrorCode::ended, _lost);
        }
        wait(std::nullopt);
    }
    Field piece = std::move(pieces.front());
    pieces.pop_front();
    return piece;
}

void Target::pump(std::chrono::milliseconds limit) {
    wait(Clock::now() + limit);
}

// Waits until something has come, once, and hands the notifications to their listeners.
void Target::wait(const std::optional<Clock::time_point>& until) {
    const bool mayWait = _notifications.empty() || _isDispatching;
    if (mayWait && !until && _watched.empty() && _out.empty() && _lost.empty()) {
        // Nothing but the hub is waited for: reading waits, too.
        receive(0);
        return dispatch();
    }
    std::vector<pollfd> waited;
    if (_lost.empty()) {
        waited.push_back({descriptor(), static_cast<short>(_out.empty() ? POLLIN : POLLIN | POLLOUT), 0});
    }
    for (const auto& [watched, isReadable] : _watched) {
        waited.push_back({watched, POLLIN, 0});
    }
    if (mayWait) {
        poll(waited.data(), waited.size(), waitTime(until));
    }
    for (const pollfd& entry : waited) {
        const auto watched = _watched.find(entry.fd);
        if (entry.revents == 0) {
            continue;
        }
        if (entry.fd == descriptor()) {
            write();
            receive(MSG_DONTWAIT);
        } else if (watched != _watched.end()) {
            // A copy: it may end the watch.
            const std::function<void()> isReadable = watched->second;
            isReadable();
        }
    }
    dispatch();
}

void Target::dispatch() {
    if (_isDispatching) {
        // A listener's own request waits; its caller goes on with what comes meanwhile.
        return;
    }
    struct Mark {
        explicit Mark(bool& mark) : set(mark) { set = true; }
        ~Mark() { set = false; }
        bool& set;
    } const mark(_isDispatching);
    while (!_notifications.empty()) {
        const Notification next = std::move(_notifications.front());
        _notifications.pop_front();
        if (const auto listener = _listeners.find(next.method); listener != _listeners.end()) {
            const Listener called = listener->second;
            called(next.params);
        }
    }
}

void Target::receive(int flags) {
    char bytes[kReadSize];
    const ssize_t length = recv(descriptor(), bytes, sizeof(bytes), flags);
    if (length < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (length <= 0) {
        lose("the hub has ended the connection");
        return;
    }
    std::vector<Line> lines;
    _reader.take({bytes, static_cast<std::size_t>(length)}, lines);
    for (const Line& line : lines) {
        try {
            if (line.kind != Line::Kind::message) {
                throw MessageError(line.text);
            }
            if (std::optional<Field> piece = readPiece(line.text)) {
                takePiece(std::move(*piece));
            } else {
                take(parseMessage(parseJsonText(line.text)));
            }
        } catch (const MessageError& error) {
            lose(std::string("the hub sends what is no message: ") + error.what());
            return;
        }
    }
}

void Target::write() {
    while (!_out.empty() && _lost.empty()) {
        const ssize_t length = send(descriptor(), _out.data(), _out.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (length < 0) {
            if (errno != EAGAIN && errno != EINTR) {
                lose("the hub has ended the connection");
            }
            return;
        }
        _out.erase(0, static_cast<std::size_t>(length));
    }
}

void Target::take(Message message) {
    if (message.answer && message.answer->id) {
        if (const Field& stream = message.answer->result["stream"]; stream.isNumber()) {
            _streams[stream.number()] = {};
        }
        if (_untold.erase(*message.answer->id) == 0) {
            _answers[*message.answer->id] = std::move(*message.answer);
        }
    } else if (message.notification && message.notification->method == "stream") {
        takePiece(std::move(message.notification->params));
    } else if (message.notification) {
        _notifications.push_back(std::move(*message.notification));
    }
}

void Target::takePiece(Field params) {
    const auto found = _streams.find(params.at("id").number());
    if (found == _streams.end()) {
        return;
    }
    if (!found->second.isDiscarded) {
        found->second.pieces.push_back(std::move(params));
    } else if (params.has("sha256") || params.has("error")) {
        _streams.erase(found);
    }
}

void Target::lose(const std::string& why) {
    if (_lost.empty()) {
        _lost = why;
        _out.clear();
    }
}

void Target::claim(const std::string& reason) {
    request("claim", reason.empty() ? Field(Field::Fields()) : Field{{"reason", reason}});
}

std::vector<Target::Client> Target::clients() {
    std::vector<Client> list;
    const Field result = request("clients");
    for (const Field& row : result.at("clients").list()) {
        Client client = {row.at("id").number(),         row["name"].textOr(""),     row["pid"].numberOr(0),
                         row["since"].numberOr(0),      row["claim"].flagOr(false), row["shared"].flagOr(false),
                         row["observer"].flagOr(false), row["reason"].textOr(""),   {}};
        for (const Field& kind : row["watches"].list()) {
            client.watches.push_back(kind.text());
        }
        list.push_back(std::move(client));
    }
    return list;
}

}  // namespace tool
