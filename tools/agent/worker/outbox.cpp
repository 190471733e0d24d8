// SPDX-License-Identifier: Apache-2.0
// What the worker says to the supervisor.
#include "worker/outbox.h"

#include <cerrno>
#include <thread>
#include <utility>

#include <sys/socket.h>
#include <unistd.h>

#include "protocol/framing.h"

namespace tool {

namespace {

// With more waiting, streams wait and notifications are dropped.
constexpr std::size_t kMuch = 1u << 20;

std::string lineOf(char mark, const Field& object) {
    return std::string{mark, ' '} + frameText(toJsonText(object, true), Framing::plain);
}

}  // namespace

Outbox::Outbox(int socket) : _socket(socket) {
    std::thread([this] { run(); }).detach();
}

void Outbox::send(char mark, const Field& object) {
    std::string line = lineOf(mark, object);
    const std::lock_guard<std::mutex> lock(_mutex);
    put(std::move(line));
}

void Outbox::sendWaiting(char mark, const Field& object) {
    std::string line = lineOf(mark, object);
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait(lock, [this] { return _waiting < kMuch; });
    put(std::move(line));
}

bool Outbox::offer(char mark, const Field& object) {
    std::string line = lineOf(mark, object);
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_waiting >= kMuch) {
        return false;
    }
    put(std::move(line));
    return true;
}

// Sends at once what the socket takes, which spares most lines the way through the thread. The caller has the mutex.
void Outbox::put(std::string line) {
    if (_lines.empty()) {
        const ssize_t size = ::send(_socket, line.data(), line.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (size == static_cast<ssize_t>(line.size())) {
            return;
        }
        line.erase(0, static_cast<std::size_t>(size > 0 ? size : 0));
    }
    _waiting += line.size();
    _lines.push_back(std::move(line));
    _changed.notify_all();
}

void Outbox::run() {
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
        _changed.wait(lock, [this] { return !_lines.empty(); });
        // It stays the first, so that no other line is sent meanwhile. Only this thread removes any.
        const std::string& line = _lines.front();
        lock.unlock();
        for (std::size_t sent = 0; sent < line.size();) {
            const ssize_t size = ::send(_socket, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
            if (size < 0 && errno != EINTR) {
                // Without a supervisor the reader of requests ends the process, unless something must finish.
                sent = line.size();
            }
            sent += static_cast<std::size_t>(size > 0 ? size : 0);
        }
        lock.lock();
        _waiting -= line.size();
        _lines.pop_front();
        _changed.notify_all();
    }
}

}  // namespace tool
