// SPDX-License-Identifier: Apache-2.0
// What supervisor and worker, which are built together, say to each other besides requests.
//
// The worker reads the requests of each lane from a pipe, on the thread that carries them out: a thread that handed
// them over would cost each call a switch of threads. What is to be read while a request runs comes through a socket,
// which takes all that the worker says. A line from the worker begins with a mark and a blank, so that the supervisor
// can pass most lines on without reading them.
#ifndef FAPI_AGENT_SUPERVISOR_INTERNAL_H
#define FAPI_AGENT_SUPERVISOR_INTERNAL_H

#include <cstddef>
#include <limits>

namespace tool {

// The ways to the worker: two lanes of requests, each of which it carries out one after the other, and what it reads
// while they run.
enum Way : std::size_t { kCalls, kLooks, kAside };
constexpr std::size_t kWays = 3;
// The worker's options for their descriptors.
constexpr const char* kWayOptions[kWays] = {"--calls", "--looks", "--socket"};

// --- From the worker
constexpr std::size_t kMarkSize = 2;
// By lane: the answer to its request; the same, after which the request goes on with a stream.
constexpr char kAnswerMarks[] = "01";
constexpr char kStreamMarks[] = "AB";
constexpr char kNotificationMark = 'n';
constexpr char kPieceMark = 'p';  // a notification that is a piece of a stream
// {"what": one of the names below, ...}
constexpr char kInternalMark = 'i';

constexpr char kStreamEnds[] = "stream-ends";  // "lane": its request is done
constexpr char kSwitchedOn[] = "switched-on";  // "boots": how often so far
constexpr char kMustFinish[] = "must-finish";  // the call waits for kGo, from which on it is never ended

// --- To the worker, through its socket: the notifications "cancel" and this one
constexpr char kGo[] = "go";

// --- To the worker, in each lane: requests, and this notification, which comes in both lanes and counts in the order
// of its "number": the first that is read takes effect before all requests of either lane that follow it.
constexpr char kLogSwitched[] = "log-switch";

// The request "identity", whose answer is a part of the answer to hello.
constexpr char kIdentity[] = "identity";
constexpr long long kIdentityId = std::numeric_limits<long long>::min();

// With this code the worker exits when the watchdog has rebooted the set.
constexpr int kRebootExit = 100;

}  // namespace tool

#endif
