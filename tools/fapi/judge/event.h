// SPDX-License-Identifier: Apache-2.0
// The events of a running plan, and the expectations of them.
#ifndef FAPI_BENCH_JUDGE_EVENT_H
#define FAPI_BENCH_JUDGE_EVENT_H

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/words.h"
#include "judge/condition.h"
#include "protocol/event.h"

namespace tool {

// Which event has to come, or must not: "event 0x100001 of prphrl with text is AB within 2s".
struct EventCondition {
    bool comes = true;
    unsigned int number = 0;
    std::string module;             // empty: any
    std::vector<Condition> fields;  // of its first payload object
    std::chrono::milliseconds within{0};
};

// What of an event can be expected and kept.
constexpr const char* kEventFields[] = {"value", "text", "bytes"};
constexpr std::string_view kEventPrefix = "event.";

// The words of a line behind "expect". Throws UsageError.
EventCondition parseEventCondition(const Words& words);

// A field of the event's first payload object: one of kEventFields.
Value fieldOf(const Event& event, std::string_view field);

// What has come since the attempt at a step began, in that order.
class EventQueue {
public:
    // Waits until more may have come, at most so long; false when all that came in that time has been added.
    using More = std::function<bool()>;

    void add(Event event);
    // Forgets what has come.
    void clear();
    // A line has ended, by the clock of the agent's machine: from then on events are waited for.
    void beginWait(std::chrono::steady_clock::time_point moment) { _waitsSince = moment; }

    // Waits for an event that has to come, up to its deadline, and takes everything up to it off the queue. An event
    // that must not come is waited for just as long, and nothing is taken. The time is that of the agent's machine.
    // Throws UsageError as judge() does, and what `more` throws.
    Judgement judge(const EventCondition& condition, const std::string& text, const Variables& variables,
                    const More& more);

    // What was taken for the last event that had to come; null when that did not.
    const Event* taken() const { return _taken ? &*_taken : nullptr; }

private:
    // The event at that place of the queue, or null when none has come there by the deadline.
    const Event* at(std::size_t place, std::chrono::steady_clock::time_point deadline, const More& more);

    std::deque<Event> _events;
    std::optional<Event> _taken;
    std::chrono::steady_clock::time_point _waitsSince;
};

}  // namespace tool

#endif
