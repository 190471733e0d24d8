// SPDX-License-Identifier: Apache-2.0
// Where a fixture reaches the virtual set in the role of a board.
#include "supervisor/hands.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace tool {

namespace {

// Above all ids of the wire.
constexpr long long kFirstId = 1LL << 62;
constexpr std::size_t kHandsPiece = 1u << 16;

}  // namespace

Hands::Hands(const std::string& path) : _path(path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        throw std::runtime_error(path + ": too long for a socket");
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    unlink(path.c_str());
    _listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (_listener < 0 || bind(_listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(_listener, 1) != 0) {
        throw std::runtime_error(path + ": " + std::strerror(errno));
    }
}

Hands::~Hands() {
    drop();
    close(_listener);
    unlink(_path.c_str());
}

bool Hands::isOurs(long long id) {
    return id >= kFirstId;
}

void Hands::drop() {
    if (_client >= 0) {
        close(_client);
    }
    _client = -1;
    _reader = LineReader(Framing::plain);
    _ids.clear();
}

void Hands::read(const std::function<void(Request request)>& take) {
    if (_client < 0) {
        _client = accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        return;
    }
    std::vector<char> piece(kHandsPiece);
    const ssize_t size = recv(_client, piece.data(), piece.size(), 0);
    if (size <= 0) {
        if (size == 0 || (errno != EAGAIN && errno != EINTR)) {
            drop();
        }
        return;
    }
    std::vector<Line> lines;
    _reader.take({piece.data(), static_cast<std::size_t>(size)}, lines);
    for (Line& line : lines) {
        if (line.kind == Line::Kind::console) {
            continue;
        }
        try {
            Message message = parseMessage(std::move(line.object));
            if (message.request) {
                const long long id = kFirstId + ++_last;
                _ids[id] = message.request->id;
                message.request->id = id;
                take(std::move(*message.request));
            }
        } catch (const MessageError&) {
            drop();
            return;
        }
    }
}

// A client that does not take its answers is none.
void Hands::answer(Answer answer) {
    const auto id = answer.id ? _ids.find(*answer.id) : _ids.end();
    if (id == _ids.end()) {
        return;
    }
    answer.id = id->second;
    _ids.erase(id);
    const std::string line = frame(toField(std::move(answer)), Framing::plain);
    if (send(_client, line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size())) {
        drop();
    }
}

}  // namespace tool
