// SPDX-License-Identifier: Apache-2.0
// What is kept of a run while it goes on.
#ifndef FAPI_BENCH_RECORD_RECORD_H
#define FAPI_BENCH_RECORD_RECORD_H

#include <chrono>
#include <vector>

#include "plan/plan.h"
#include "target/output.h"

namespace tool {

using Clock = std::chrono::steady_clock;

// Where a run is, as another process goes on with it.
struct Position {
    std::size_t step = 0;                  // the next one to run
    bool stopped = false;                  // only teardown steps run any more
    std::vector<unsigned int> faultCalls;  // what ArmedFaults has counted
};

// What a run keeps of a text or of bytes, in its reports and its history.
constexpr std::size_t kKeptBytes = 65536;
// What the JSON report keeps of what a line has answered.
constexpr std::size_t kWholeBytes = 16u << 20;
// What a message has of the line that it is about.
constexpr std::size_t kToldBytes = 1000;

// A value must come back byte by byte, and a text of a set need not be UTF-8.
Json encodeValue(const Value& value);
// Throws nlohmann's exceptions and UsageError for what encodeValue() did not make.
Value decodeValue(const Json& json);

}  // namespace tool

#endif
