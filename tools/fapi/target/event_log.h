// SPDX-License-Identifier: Apache-2.0
// Events of the library, from the callbacks of the modules to whoever prints them.
#ifndef FAPI_BENCH_TARGET_EVENT_LOG_H
#define FAPI_BENCH_TARGET_EVENT_LOG_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "protocol/event.h"

namespace tool {

// Filled by the callbacks, which only copy; emptied by one reader. Never destroyed: a worker of the library may deliver
// while the process exits.
class EventLog {
public:
    void add(Event event);
    // The oldest event, waiting for it until `deadline`. False when none came. After interrupt() it no longer waits.
    bool take(Event& event, std::chrono::steady_clock::time_point deadline);
    void interrupt();
    // Forgets what nobody has taken.
    void clear();

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    std::deque<Event> _events;
    bool _interrupted = false;
};

EventLog& eventLog();

// "prphrl 0x100001 value 3 text "AB" bytes 41 42 "AB"": bytes in hexadecimal and as text. Long payloads are cut, and
// their size is told. Keys, readings and pads are told in words, too: "prphrl 0x100005 value 1 (pad high)".
std::string describe(const Event& event);
// The same behind its time: "12:34:56.789 prphrl ..."
std::string displayEvent(const Event& event);

// Bytes as a text that any terminal and any JSON takes: whatever is not printable ASCII is escaped.
std::string printableBytes(const std::vector<unsigned char>& bytes);

}  // namespace tool

#endif
