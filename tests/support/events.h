// SPDX-License-Identifier: Apache-2.0
// Collects the events of the peripheral module.
#ifndef TESTS_SUPPORT_EVENTS_H
#define TESTS_SUPPORT_EVENTS_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "a_vextvfapi_prphrl.h"
#include "support/waiting.h"

namespace test {

struct Event {
    unsigned int number;
    int value;
    std::string text;
    std::string data;
};

inline bool operator==(const Event& left, const Event& right) {
    return left.number == right.number && left.value == right.value && left.text == right.text &&
           left.data == right.data;
}

inline void PrintTo(const Event& event, std::ostream* pStream) {
    *pStream << std::hex << event.number << std::dec << " value " << event.value << " text \"" << event.text
             << "\" data \"" << event.data << '"';
}

// A registration for the events as long as this object lives; one at a time.
class Events {
public:
    Events() {
        _pCurrent = this;
        a_vextvfapi_prphrl_reg_callback(take);
    }
    ~Events() { a_vextvfapi_prphrl_unreg_callback(); }
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;

    // Sets an action that runs inside the callback and keeps the service's thread that long.
    void onEvent(std::function<void(const Event&)> action) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _action = std::move(action);
    }

    // Waits for `count` events or until `atMost`; returns all events so far.
    std::vector<Event> wait(std::size_t count, std::chrono::milliseconds atMost = 10s) {
        waitFor(count, atMost);
        const std::lock_guard<std::mutex> lock(_mutex);
        return _events;
    }

    std::size_t count() {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _events.size();
    }

    // Waits as wait() does, without a copy of the events.
    void waitFor(std::size_t count, std::chrono::milliseconds atMost) {
        std::unique_lock<std::mutex> lock(_mutex);
        _changed.wait_for(lock, patient(atMost), [&] { return _events.size() >= count; });
    }

    // Waits as wait() does; returns the bytes of the first objects.
    std::vector<std::string> data(std::size_t count, std::chrono::milliseconds atMost = 10s) {
        std::vector<std::string> data;
        for (const Event& event : wait(count, atMost)) {
            data.push_back(event.data);
        }
        return data;
    }

    // Waits until nothing has come for that time; returns all events so far.
    std::vector<Event> settled(std::chrono::milliseconds quiet) {
        for (std::size_t before = count();; before = count()) {
            std::this_thread::sleep_for(quiet);
            if (count() == before) {
                return wait(0);
            }
        }
    }

    void clear() {
        const std::lock_guard<std::mutex> lock(_mutex);
        _events.clear();
    }

private:
    using Object = fapi_core::VexTvFApiEventCommonObject;

    static int take(unsigned int event, const Object& a, const Object& b, const Object& c, const Object& d) {
        Events& events = *_pCurrent;
        Event taken{event, a.value, a.text, std::string(a.data.begin(), a.data.end())};
        for (const Object* pOther : {&b, &c, &d}) {
            if (pOther->value != 0 || !pOther->text.empty() || !pOther->data.empty()) {
                taken.text += " and another object";
            }
        }
        std::function<void(const Event&)> action;
        {
            const std::lock_guard<std::mutex> lock(events._mutex);
            events._events.push_back(taken);
            events._changed.notify_all();
            action = events._action;
        }
        if (action) {
            action(taken);
        }
        return 0;
    }

    static inline Events* _pCurrent = nullptr;

    std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<Event> _events;
    std::function<void(const Event&)> _action;
};

}  // namespace test

#endif
