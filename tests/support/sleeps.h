// SPDX-License-Identifier: Apache-2.0
// The sleep() and usleep() that the library finds in this test program: they record the times that it asks for.
#ifndef TESTS_SUPPORT_SLEEPS_H
#define TESTS_SUPPORT_SLEEPS_H

#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include <unistd.h>

#include "support/waiting.h"

namespace test {

struct Sleeps {
    std::mutex mutex;
    std::map<unsigned int, unsigned int> counts;  // by microseconds
    std::function<void(unsigned int)> action;     // instead of sleep()
};

// Returns those of this process. Threads of the library may sleep while the process exits.
inline Sleeps& sleeps() {
    static Sleeps& all = *new Sleeps;
    return all;
}

// Forgets the sleeps so far. From now on `action` runs, on the thread that sleeps, in place of each sleep(); without
// one a second lasts a tenth.
inline void onSleep(std::function<void(unsigned int)> action = nullptr) {
    const std::lock_guard<std::mutex> lock(sleeps().mutex);
    sleeps().counts.clear();
    sleeps().action = std::move(action);
}

// Returns how often each time, in microseconds, was asked for.
inline std::map<unsigned int, unsigned int> sleepCounts() {
    const std::lock_guard<std::mutex> lock(sleeps().mutex);
    return sleeps().counts;
}

inline std::function<void(unsigned int)> recordSleep(unsigned int microseconds) {
    const std::lock_guard<std::mutex> lock(sleeps().mutex);
    ++sleeps().counts[microseconds];
    return sleeps().action;
}

}  // namespace test

extern "C" {

inline __attribute__((used, visibility("default"))) unsigned int sleep(unsigned int seconds) {
    const std::function<void(unsigned int)> action = test::recordSleep(seconds * 1000000);
    if (action) {
        action(seconds);
    } else {
        std::this_thread::sleep_for(test::patient(std::chrono::milliseconds(100 * seconds)));
    }
    return 0;
}

inline __attribute__((used, visibility("default"))) int usleep(useconds_t microseconds) {
    test::recordSleep(microseconds);
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
    return 0;
}
}

#endif
