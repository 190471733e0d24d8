// SPDX-License-Identifier: Apache-2.0
// Waits and limits on time. An upper limit distinguishes "hangs" from "takes long"; FAPI_TEST_PATIENCE, a factor,
// widens all of them on slow machines.
#ifndef TESTS_SUPPORT_WAITING_H
#define TESTS_SUPPORT_WAITING_H

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <thread>

namespace test {

using namespace std::chrono_literals;

// Returns the factor for slow machines, at least 1.
inline double patience() {
    const char* pszFactor = std::getenv("FAPI_TEST_PATIENCE");
    return pszFactor == nullptr ? 1 : std::max(1.0, std::atof(pszFactor));
}

// Returns a number of seconds, or a time, as this machine needs it.
inline double patient(double seconds) {
    return seconds * patience();
}
inline std::chrono::milliseconds patient(std::chrono::milliseconds time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time * patience());
}

// Waits until `isSo()` holds; returns false after `atMost`.
template <class IsSo>
bool eventually(IsSo&& isSo, std::chrono::milliseconds atMost = 10s) {
    const auto deadline = std::chrono::steady_clock::now() + patient(atMost);
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// Returns the seconds that `body` takes.
template <class Body>
double secondsOf(Body&& body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Returns the seconds of processor time that this process has used.
inline double processorSeconds() {
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// A thread that repeats an action as long as this object lives.
class Repeating {
public:
    explicit Repeating(std::function<void()> action)
        : _thread([this, action = std::move(action)] {
              while (!_bOver) {
                  action();
              }
          }) {}
    ~Repeating() {
        _bOver = true;
        _thread.join();
    }
    Repeating(const Repeating&) = delete;
    Repeating& operator=(const Repeating&) = delete;

private:
    std::atomic<bool> _bOver{false};
    std::thread _thread;
};

}  // namespace test

#endif
