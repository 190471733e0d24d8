// SPDX-License-Identifier: Apache-2.0
// Requests that the worker carries out one after the other.
#ifndef FAPI_AGENT_WORKER_LANE_H
#define FAPI_AGENT_WORKER_LANE_H

#include <cstddef>

#include "worker/method.h"

namespace tool {

class Outbox;

class Lane {
public:
    Lane(std::size_t number, Outbox& outbox) : _number(number), _outbox(outbox) {}

    // Reads requests and carries them out until the supervisor has ended.
    void run(int requests);

private:
    void serve(const Request& request);
    void stream(long long id, const Pieces& pieces);

    const std::size_t _number;
    Outbox& _outbox;
};

// Whether the client wants no more of the request that this thread carries out.
bool isCanceled();
// Says so of a request.
void cancelRequest(long long id);

}  // namespace tool

#endif
