// SPDX-License-Identifier: Apache-2.0
// The agent's end of the wire.
#include "supervisor/wire.h"

#include <array>
#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "protocol/message.h"

namespace tool {

namespace {

constexpr std::size_t kRead = 1u << 16;
// Short lines are written together.
constexpr std::size_t kTogether = 1u << 16;
// A client that acknowledges nothing can have no more than these once more.
constexpr std::size_t kKeptAnswers = 1024;
constexpr std::size_t kKeptBytes = 2 * kLongestMessage;
// What a wire carries undamaged that has something else to say every few KB.
constexpr std::size_t kPart = 1024;
// A longer answer is read in parts. The answer that has a part is not.
constexpr std::size_t kLongAnswer = 3 * kPart;

}  // namespace

Wire::Wire(int in, int out) : _in(in), _out(out), _outFlags(fcntl(out, F_GETFL)) {
    fcntl(_out, F_SETFL, _outFlags | O_NONBLOCK);
}

Wire::~Wire() {
    // The descriptor's state is shared with whoever has started the agent.
    fcntl(_out, F_SETFL, _outFlags);
}

void Wire::read() {
    static std::array<char, kRead> piece;
    _unread.erase(0, std::exchange(_unreadFrom, 0));
    const ssize_t size = ::read(_in, piece.data(), piece.size());
    _unread.append(piece.data(), static_cast<std::size_t>(size > 0 ? size : 0));
    _open = _open && (size > 0 || (size < 0 && (errno == EAGAIN || errno == EINTR)));
}

std::optional<Line> Wire::next() {
    // Line by line, because the framing of those that follow depends on what has been read.
    while (_lines.empty() && _unreadFrom != _unread.size()) {
        const std::size_t newline = _unread.find('\n', _unreadFrom);
        const std::size_t end = newline == std::string::npos ? _unread.size() : newline + 1;
        std::vector<Line> lines;
        _reader.take(std::string_view(_unread).substr(_unreadFrom, end - _unreadFrom), lines);
        _unreadFrom = end;
        for (Line& line : lines) {
            _lines.push_back(std::move(line));
        }
    }
    if (_lines.empty()) {
        return std::nullopt;
    }
    Line line = std::move(_lines.front());
    _lines.pop_front();
    return line;
}

void Wire::use(Framing framing) {
    _reader.use(framing);
}

void Wire::forgetAll() {
    _kept.clear();
    _spared.clear();
    _keptBytes = 0;
    _messages.clear();
    _lastMessage = 0;
    _messageBytes = 0;
}

void Wire::send(std::string text) {
    if (!_open) {
        return;
    }
    std::string line = frameText(std::move(text), framing());
    _waiting += line.size();
    if (!_unwritten.empty() && _unwritten.back().size() + line.size() <= kTogether) {
        _unwritten.back() += line;
    } else {
        _unwritten.push_back(std::move(line));
    }
}

// Returns the notification that says so.
std::string Wire::keepMessage(std::string text) {
    _messageBytes += text.size();
    _messages[++_lastMessage] = std::move(text);
    return toJsonText(toField(Notification{"long", {{"last", _lastMessage}}}));
}

void Wire::sendSurely(std::string text) {
    if (framing() == Framing::checked && _open) {
        text = keepMessage(std::move(text));
    }
    send(std::move(text));
}

void Wire::answer(long long id, std::string text, bool isSure) {
    if (framing() == Framing::checked) {
        if (isSure || text.size() > kLongAnswer) {
            text = keepMessage(std::move(text));
        }
        _keptBytes += text.size();
        _kept[id] = text;
        while (_kept.size() > kKeptAnswers || (_keptBytes > kKeptBytes && _kept.size() > 1)) {
            forgetOne();
        }
    }
    send(std::move(text));
}

bool Wire::sendAgain(long long id) {
    const auto found = _kept.find(id);
    if (found != _kept.end()) {
        send(found->second);
    }
    return found != _kept.end();
}

void Wire::forget(long long acknowledged) {
    while (!_kept.empty() && _kept.begin()->first <= acknowledged) {
        _keptBytes -= _kept.begin()->second.size();
        _kept.erase(_kept.begin());
    }
    _spared.erase(_spared.begin(), _spared.upper_bound(acknowledged));
}

// Without the answer to a call, the call would be made twice.
void Wire::forgetOne() {
    while (!_spared.empty() && _kept.count(*_spared.begin()) == 0) {
        _spared.erase(_spared.begin());
    }
    const auto found = _spared.empty() ? _kept.begin() : _kept.find(*_spared.begin());
    _keptBytes -= found->second.size();
    _kept.erase(found);
}

std::optional<Wire::Part> Wire::part(long long message, long long number) const {
    const auto found = _messages.find(message);
    const auto parts =
        static_cast<long long>(found == _messages.end() ? 0 : (found->second.size() + kPart - 1) / kPart);
    if (number < 1 || number > parts) {
        return std::nullopt;
    }
    return Part{std::string_view(found->second).substr(static_cast<std::size_t>(number - 1) * kPart, kPart), parts};
}

void Wire::forgetMessages(long long read) {
    while (!_messages.empty() && _messages.begin()->first <= read) {
        _messageBytes -= _messages.begin()->second.size();
        _messages.erase(_messages.begin());
    }
}

void Wire::dropUnwritten() {
    if (_unwritten.empty()) {
        return;
    }
    // Several lines may be in the piece whose beginning has been written.
    const std::size_t end = _written == 0 ? 0 : _unwritten.front().find('\n', _written - 1) + 1;
    _unwritten.front().erase(end);
    _unwritten.resize(_written == end ? 0 : 1);
    _waiting = end - _written;
    _written = _unwritten.empty() ? 0 : _written;
}

void Wire::flush() {
    while (_open && !_unwritten.empty()) {
        const std::string& first = _unwritten.front();
        const ssize_t size = write(_out, first.data() + _written, first.size() - _written);
        if (size < 0) {
            _open = errno == EAGAIN || errno == EINTR;
            return;
        }
        _written += static_cast<std::size_t>(size);
        _waiting -= static_cast<std::size_t>(size);
        if (_written == first.size()) {
            _unwritten.pop_front();
            _written = 0;
        }
    }
}

}  // namespace tool
