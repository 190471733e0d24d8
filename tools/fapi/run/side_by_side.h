// SPDX-License-Identifier: Apache-2.0
// Parts of a program side by side, of which one at a time goes on.
#ifndef FAPI_BENCH_RUN_SIDE_BY_SIDE_H
#define FAPI_BENCH_RUN_SIDE_BY_SIDE_H

#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace tool {

// Each part has a thread, and only the one whose turn it is does anything: nothing that the parts share needs a lock. A
// part gives its turn away when it waits.
class SideBySide {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    // Waits until something has come, at most until then. Called when every part waits.
    using Pump = std::function<void(TimePoint until)>;

    explicit SideBySide(Pump pump) : _pump(std::move(pump)) {}

    // Calls `part` with 0 to count - 1; returns when all have ended. Throws what the first of them has thrown.
    void run(std::size_t count, const std::function<void(std::size_t number)>& part);
    // The part whose turn it is.
    std::size_t current() const { return _current; }
    // Called by that part: returns when something may have come for it, or at that time; what `pump` throws is thrown
    // by the part that has called it.
    void wait(TimePoint until);
    // Something has come for that part: wait() returns there when it next gets its turn.
    void wake(std::size_t number) { _parts[number].waitsUntil.reset(); }
    // Something has come that may be for any of them.
    void wakeAll();

private:
    struct Part {
        std::condition_variable isTurn;
        std::optional<TimePoint> waitsUntil;
        bool isDone = false;
    };

    bool giveTurn();
    void awaitTurn(std::unique_lock<std::mutex>& lock, std::size_t number);
    TimePoint earliest() const;

    const Pump _pump;
    std::mutex _mutex;
    std::vector<Part> _parts;
    std::size_t _current = 0;
    std::exception_ptr _thrown;
};

}  // namespace tool

#endif
