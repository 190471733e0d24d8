// SPDX-License-Identifier: Apache-2.0
// Detached worker threads, stopped by a flag and watched by polling.
#ifndef FAPI_BACKGROUND_TASK_H
#define FAPI_BACKGROUND_TASK_H

#include <atomic>

namespace fapi {

using ThreadEntry_t = void* (*)(void*);

// Starts a detached thread. Returns 0, or the error code of pthread_create, which is also stored in errno for the
// caller's message. Never throws.
int startDetachedThread(ThreadEntry_t entry, void* pArgument);

// Names the calling thread. The kernel keeps the first 15 characters; pthread_setname_np would refuse a longer name.
void nameThisThread(const char* pszName);

// The two flags of a worker that a module runs at most once at a time. Constant-initialized and without a destructor,
// because the worker may outlive the last call into the library.
//
// A worker runs while isEnabled(). Its last act is markStopped() (a log line may follow), after which it may be started
// again. A worker may leave the started flag set (contract); the next stop then clears it.
class BackgroundTask {
public:
    constexpr BackgroundTask() = default;

    // Sets both flags, then starts the worker: a worker that ends at once must not have its markStopped() overwritten.
    // A failed start clears the started flag alone.
    int start(ThreadEntry_t entry, void* pArgument);

    void enable() { _bEnabled.store(true); }
    void disable() { _bEnabled.store(false); }
    bool isEnabled() const { return _bEnabled.load(); }
    bool isStarted() const { return _bStarted.load(); }
    void markStarted() { _bStarted.store(true); }
    void markStopped() { _bStarted.store(false); }

private:
    std::atomic<bool> _bEnabled{false};
    std::atomic<bool> _bStarted{false};
};

// Polls up to `u32Times` times: waits, then checks. Used by stops, because detached workers cannot be joined. True as
// soon as isDone() is. A wait sleeps, or asks the middleware to, and logs under the name of the operation that polls:
//
//     static void waitForMonitor(const char* pszCaller) { FAPI_LOGD_AS(pszCaller, "..."); sleep(1); }
//     ... pollUntil(10, waitForMonitor, [] { return !_task.isStarted(); })
template <class Wait, class IsDone>
bool pollUntil(unsigned int u32Times, Wait&& wait, IsDone&& isDone, const char* pszCaller = __builtin_FUNCTION()) {
    for (unsigned int i = 0; i < u32Times; ++i) {
        wait(pszCaller);
        if (isDone()) {
            return true;
        }
    }
    return false;
}

}  // namespace fapi

#endif
