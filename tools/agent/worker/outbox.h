// SPDX-License-Identifier: Apache-2.0
// What the worker says to the supervisor. A slow wire makes streams wait and costs notifications, but no thread of the
// library waits.
#ifndef FAPI_AGENT_WORKER_OUTBOX_H
#define FAPI_AGENT_WORKER_OUTBOX_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>

#include "protocol/field.h"

namespace tool {

// All functions are safe to use from any thread.
class Outbox {
public:
    explicit Outbox(int socket);
    Outbox(const Outbox&) = delete;
    Outbox& operator=(const Outbox&) = delete;

    // A line is never dropped.
    void send(char mark, const Field& object);
    // Waits first, while much waits to be sent.
    void sendWaiting(char mark, const Field& object);
    // False when so much waits that it is dropped.
    bool offer(char mark, const Field& object);

private:
    void put(std::string line);
    [[noreturn]] void run();

    const int _socket;
    std::mutex _mutex;
    std::condition_variable _changed;
    std::deque<std::string> _lines;
    std::size_t _waiting = 0;
};

}  // namespace tool

#endif
