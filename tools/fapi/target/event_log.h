// SPDX-License-Identifier: Apache-2.0
// Events of the library, from the hub to what prints or judges them.
#ifndef FAPI_BENCH_TARGET_EVENT_LOG_H
#define FAPI_BENCH_TARGET_EVENT_LOG_H

#include <chrono>
#include <deque>
#include <string>
#include <vector>

#include "protocol/event.h"

namespace tool {

// Filled while the session waits for anything, in the order in which the events came.
class EventLog {
public:
    void add(Event event);
    bool isEmpty() const { return _events.empty(); }
    // The oldest event, waiting for it until `deadline`. False when none came, or after interrupt().
    bool take(Event& event, std::chrono::steady_clock::time_point deadline);
    // Ends the wait of now, and all later ones.
    void interrupt() { _isInterrupted = true; }
    // Forgets what nobody has taken.
    void clear() { _events.clear(); }

private:
    std::deque<Event> _events;
    bool _isInterrupted = false;
};

EventLog& eventLog();

// "prphrl 0x100001 value 3 text "AB" bytes 41 42 "AB"": bytes in hexadecimal and as text. Long payloads are cut, and
// their size is reported. Keys, readings and pads are given in words, too: "prphrl 0x100005 value 1 (pad high)".
std::string describe(const Event& event);
// The same behind its time: "12:34:56.789 prphrl ..."
std::string displayEvent(const Event& event);

// Bytes as a text that any terminal and any JSON takes: whatever is not printable ASCII is escaped.
std::string printableBytes(const std::vector<unsigned char>& bytes);

}  // namespace tool

#endif
