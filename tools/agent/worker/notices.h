// SPDX-License-Identifier: Apache-2.0
// What the worker reports unasked: events, calls of the middleware, and what the supervisor has to know.
#ifndef FAPI_AGENT_WORKER_NOTICES_H
#define FAPI_AGENT_WORKER_NOTICES_H

#include <cstdint>
#include <string>

namespace tool {

class Outbox;

// Before all others.
void reportTo(Outbox& outbox);

void reportEvents(bool on);
// Switching it on again reports what has been called since the last report. Returns the number of the last call.
std::uint64_t reportJournal(bool on);
// Reports the calls since the last report, if that is on.
void flushJournal();

void noteSwitchedOn(unsigned int boots);

// Waits until the supervisor has promised that it ends the worker no more, and keeps the worker from ending before
// `this` does. Of the process's first thread: the signal that comes when the supervisor ends belongs to a thread.
class MustFinish {
public:
    MustFinish();
    ~MustFinish();
    MustFinish(const MustFinish&) = delete;
    MustFinish& operator=(const MustFinish&) = delete;

    // The promise has come.
    static void go();
    // Waits until nothing runs that must finish.
    static void waitForEnd();
};

}  // namespace tool

#endif
