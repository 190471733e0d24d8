// SPDX-License-Identifier: Apache-2.0
// Requests that the worker carries out one after the other, on a thread of their own.
#ifndef FAPI_AGENT_WORKER_LANE_H
#define FAPI_AGENT_WORKER_LANE_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>

#include "worker/method.h"

namespace tool {

class Outbox;

class Lane {
public:
    // Lives as long as the process.
    Lane(std::size_t number, Outbox& outbox);
    Lane(const Lane&) = delete;
    Lane& operator=(const Lane&) = delete;

    void add(Request request);

private:
    [[noreturn]] void run();
    void serve(const Request& request);
    void stream(long long id, const Pieces& pieces);

    const std::size_t _number;
    Outbox& _outbox;
    std::mutex _mutex;
    std::condition_variable _changed;
    std::deque<Request> _waiting;
};

// Whether the client wants no more of the request that this thread carries out.
bool isCanceled();
// Says so of a request.
void cancelRequest(long long id);

}  // namespace tool

#endif
