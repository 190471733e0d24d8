// SPDX-License-Identifier: Apache-2.0
// A client of the hub: what it has asked for and has not read yet.
#include "hub/client.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <sys/socket.h>
#include <sys/uio.h>

#include "protocol/message.h"

namespace tool {

namespace {

// A client that has more than this to read is asked no further.
constexpr std::size_t kMostUnread = 1 << 20;
constexpr std::size_t kMostAnswers = 64;
constexpr std::size_t kMostOpen = 64;
// Beyond this, notifications are dropped, and what must not be dropped holds the wire up.
constexpr std::size_t kMostWaiting = 8 << 20;
constexpr std::size_t kLittleWaiting = kMostWaiting / 2;
// For so long at most.
constexpr std::chrono::seconds kPatience{2};
// How long notifications are collected, and how many bytes of them.
constexpr std::chrono::milliseconds kCollects{5};
constexpr std::size_t kMostCollected = 256 << 10;
constexpr std::size_t kReadSize = 64 << 10;
constexpr std::size_t kLinesAtOnce = 64;

pid_t peerOf(const Descriptor& connection) {
    ucred peer = {};
    socklen_t size = sizeof(peer);
    getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size);
    return peer.pid;
}

// The notification with the number of those that were dropped before it, by the agent as well.
SharedLine withDropped(const SharedLine& line, long long dropped) {
    Notification notification = *parseMessage(parseJsonText(*line)).notification;
    notification.params.set("dropped", dropped + notification.params["dropped"].numberOr(0));
    return std::make_shared<const std::string>(frame(toField(notification), Framing::plain));
}

}  // namespace

HubClient::HubClient(long long number, Descriptor connection)
    : id(number), pid(peerOf(connection)), since(wallTime()), _connection(std::move(connection)) {}

void HubClient::read() {
    static char piece[kReadSize];
    const ssize_t length = recv(descriptor(), piece, sizeof(piece), MSG_DONTWAIT);
    if (length > 0) {
        std::vector<Line> lines;
        _reader.take({piece, static_cast<std::size_t>(length)}, lines);
        std::move(lines.begin(), lines.end(), std::back_inserter(_lines));
    } else if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
        isGone = true;
    }
}

std::optional<Line> HubClient::nextLine() {
    if (_lines.empty() || !mayAsk()) {
        return std::nullopt;
    }
    Line line = std::move(_lines.front());
    _lines.pop_front();
    return line;
}

bool HubClient::mayAsk() const {
    return !isGone && _waiting <= kMostUnread && _answers < kMostAnswers && open < kMostOpen;
}

void HubClient::answer(std::string line) {
    push(std::make_shared<const std::string>(std::move(line)), true);
    _isUrgent = true;
}

void HubClient::send(const SharedLine& line) {
    push(line, false);
    _isUrgent = true;
}

void HubClient::notify(const std::string& kind, const SharedLine& line) {
    long long& dropped = _dropped[kind];
    if (_waiting + line->size() > kMostWaiting) {
        ++dropped;
        return;
    }
    push(dropped == 0 ? line : withDropped(line, dropped), false);
    dropped = 0;
    _isUrgent = _isUrgent || _waiting > kMostCollected;
}

std::optional<Clock::time_point> HubClient::collectsUntil() const {
    return !_out.empty() && !_isUrgent ? std::optional(_collectsUntil) : std::nullopt;
}

void HubClient::push(const SharedLine& line, bool isAnswer) {
    _out.push_back({line, isAnswer});
    _waiting += line->size();
    _answers += isAnswer ? 1 : 0;
    if (_waiting > kMostWaiting && !_overSince) {
        _overSince = Clock::now();
    }
}

void HubClient::write(bool collects) {
    if (collects && isCollecting()) {
        return;
    }
    if (!_out.empty()) {
        // Answers end no collection: a client that acts hears at once what follows from it.
        _collectsUntil = _isUrgent ? Clock::time_point() : Clock::now() + kCollects;
        _isUrgent = true;
    }
    while (!_out.empty() && !isGone) {
        std::array<iovec, kLinesAtOnce> pieces = {};
        const std::size_t count = std::min(_out.size(), pieces.size());
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t skipped = i == 0 ? _written : 0;
            const std::string& line = *_out[i].line;
            pieces[i] = {const_cast<char*>(line.data()) + skipped, line.size() - skipped};
        }
        msghdr message = {};
        message.msg_iov = pieces.data();
        message.msg_iovlen = count;
        const ssize_t length = sendmsg(descriptor(), &message, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (length < 0) {
            isGone = errno != EAGAIN && errno != EINTR;
            break;
        }
        _waiting -= static_cast<std::size_t>(length);
        _written += static_cast<std::size_t>(length);
        while (!_out.empty() && _written >= _out.front().line->size()) {
            _written -= _out.front().line->size();
            _answers -= _out.front().isAnswer ? 1 : 0;
            _out.pop_front();
        }
    }
    _isUrgent = !_out.empty();
    if (_waiting <= kLittleWaiting) {
        _overSince.reset();
    }
}

std::optional<Clock::time_point> HubClient::readsUntil() const {
    return _overSince ? std::optional(*_overSince + kPatience) : std::nullopt;
}

long long wallTime() {
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    return time.tv_sec * 1000000000LL + time.tv_nsec;
}

}  // namespace tool
