// SPDX-License-Identifier: Apache-2.0
// The events of a running plan, and the expectations of them.
#ifndef FAPI_BENCH_PLAN_EVENT_H
#define FAPI_BENCH_PLAN_EVENT_H

#include <deque>

#include "plan/plan.h"
#include "target/event_log.h"

namespace tool {

// A field of the event's first payload object: one of kEventFields.
Value fieldOf(const Event& event, std::string_view field);

// What has come since the attempt at a step began, in that order. One thread reads it.
class EventQueue {
public:
    // Forgets what has come.
    void clear();

    // Waits for an event that has to come, up to its deadline, and takes everything up to it off the queue. An event
    // that must not come is waited for just as long, and nothing is taken. Throws UsageError as judge() does.
    Judgement judge(const EventCondition& condition, const std::string& text, const Variables& variables);

    // What was taken for the last event that had to come; null when that did not.
    const Event* taken() const { return _taken ? &*_taken : nullptr; }

private:
    // The event at that place of the queue, or null when it has not come by the deadline.
    const Event* at(std::size_t place, std::chrono::steady_clock::time_point deadline);

    std::deque<Event> _events;
    std::optional<Event> _taken;
};

}  // namespace tool

#endif
