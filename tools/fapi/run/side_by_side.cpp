// SPDX-License-Identifier: Apache-2.0
// Parts of a program side by side.
#include "run/side_by_side.h"

#include <algorithm>
#include <thread>

namespace tool {

void SideBySide::run(std::size_t count, const std::function<void(std::size_t number)>& part) {
    _parts = std::vector<Part>(count);
    _current = 0;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back([this, i, &part] {
            std::unique_lock lock(_mutex);
            awaitTurn(lock, i);
            lock.unlock();
            try {
                part(i);
            } catch (...) {
                _thrown = _thrown ? _thrown : std::current_exception();
            }
            lock.lock();
            _parts[i].isDone = true;
            if (!giveTurn()) {
                // Those that are left all wait, and one of them has to pump.
                wakeAll();
                giveTurn();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    if (_thrown) {
        std::rethrow_exception(_thrown);
    }
}

void SideBySide::awaitTurn(std::unique_lock<std::mutex>& lock, std::size_t number) {
    _parts[number].isTurn.wait(lock, [&] { return _current == number; });
}

// Gives the turn to the next part that does not wait. False when there is none.
bool SideBySide::giveTurn() {
    for (std::size_t step = 1; step <= _parts.size(); ++step) {
        const std::size_t number = (_current + step) % _parts.size();
        if (!_parts[number].isDone && !_parts[number].waitsUntil) {
            _current = number;
            _parts[number].isTurn.notify_all();
            return true;
        }
    }
    return false;
}

SideBySide::TimePoint SideBySide::earliest() const {
    TimePoint until = TimePoint::max();
    for (const Part& part : _parts) {
        until = part.waitsUntil ? std::min(until, *part.waitsUntil) : until;
    }
    return until;
}

void SideBySide::wakeAll() {
    for (Part& part : _parts) {
        part.waitsUntil.reset();
    }
}

void SideBySide::wait(TimePoint until) {
    const std::size_t number = _current;
    std::unique_lock lock(_mutex);
    _parts[number].waitsUntil = until;
    if (giveTurn()) {
        awaitTurn(lock, number);
        return;
    }
    const TimePoint first = earliest();
    wakeAll();
    lock.unlock();
    _pump(first);
}

}  // namespace tool
