// SPDX-License-Identifier: Apache-2.0
// A set whose system and peripheral modules are up, and what its serial links raise.
#ifndef TESTS_SUPPORT_SERIAL_FIXTURE_H
#define TESTS_SUPPORT_SERIAL_FIXTURE_H

#include <atomic>
#include <chrono>
#include <ctime>
#include <functional>
#include <thread>

#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "support/emulation.h"
#include "support/events.h"
#include "support/set_fixture.h"
#include "vset/uart.h"

namespace test {

constexpr unsigned int kUartData = 0x100001;
constexpr unsigned int kPipeCommand = 0x100003;

constexpr signed char kBaud115200 = 4;

// Waits until it is so, for ten seconds at most.
template <class IsSo>
bool eventually(IsSo&& isSo, std::chrono::milliseconds atMost = 10s) {
    const auto deadline = std::chrono::steady_clock::now() + atMost;
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// Seconds that `body` takes.
template <class Body>
double secondsOf(Body&& body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Seconds of processor time that this process has used.
inline double processorSeconds() {
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Does something over and over, on a thread of its own, while it lives.
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

class SerialTest : public SetTest {
protected:
    void SetUp() override {
        SetTest::SetUp();
        ASSERT_EQ(a_vextvfapi_sys_init(), 0);
        ASSERT_EQ(a_vextvfapi_prphrl_init(), 0);
        vset::clearJournal();
    }
};

// The same for a service that has a thread.
class SerialServiceTest : public SerialTest {
protected:
    void SetUp() override {
        SKIP_UNDER_EMULATION();
        SerialTest::SetUp();
    }
    void TearDown() override {
        if (!IsSkipped()) {
            stopService();
            SerialTest::TearDown();
        }
    }
    virtual void stopService() = 0;
};

}  // namespace test

#endif
