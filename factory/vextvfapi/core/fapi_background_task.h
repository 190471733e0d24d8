// SPDX-License-Identifier: Apache-2.0
// Detached worker threads that are stopped by a flag and watched by polling.
#ifndef FAPI_BACKGROUND_TASK_H
#define FAPI_BACKGROUND_TASK_H

#include <atomic>
#include <chrono>

namespace fapi {

using ThreadEntry_t = void* (*)(void*);

// Starts a detached thread. 0, or the error code of pthread_create, which is also put into errno for the caller's
// message. Never throws.
int startDetachedThread(ThreadEntry_t entry, void* pArgument);

// Names the calling thread. The kernel keeps the first 15 characters; pthread_setname_np would refuse a longer name.
void nameThisThread(const char* pszName);

// The two flags of a worker that a module runs at most once at a time. Constant-initialised and without a destructor,
// because the worker may outlive the last call into the library.
//
// Contract of a worker: it runs while isEnabled(), and its last act is markStopped() (a log line may follow); after
// that a new start may already be under way.
class BackgroundTask {
public:
    constexpr BackgroundTask() = default;

    // Sets both flags, then starts the worker. The started flag is set before the thread exists, because a worker that
    // ends at once must not have its markStopped() overwritten. A failed start clears it and leaves the enable flag.
    int start(ThreadEntry_t entry, void* pArgument);

    void disable() { _bEnabled.store(false); }
    bool isEnabled() const { return _bEnabled.load(); }
    bool isStarted() const { return _bStarted.load(); }
    void markStarted() { _bStarted.store(true); }
    void markStopped() { _bStarted.store(false); }

private:
    std::atomic<bool> _bEnabled{false};
    std::atomic<bool> _bStarted{false};
};

// "Up to n times: say so, wait, look": the wait of a stop that does not join.
//
//     for (Poll poll(10, std::chrono::seconds(1)); poll.isLeft();) { log; poll.wait(); if (!task.isStarted()) ... }
class Poll {
public:
    Poll(unsigned int u32Times, std::chrono::milliseconds step) : _u32Left(u32Times), _step(step) {}

    bool isLeft() const { return _u32Left != 0; }
    void wait();

private:
    unsigned int _u32Left;
    std::chrono::milliseconds _step;
};

}  // namespace fapi

#endif
