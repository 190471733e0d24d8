// SPDX-License-Identifier: Apache-2.0
// Bytes that wait for a registered callback, and the thread that calls it.
#ifndef VSET_CALLBACK_QUEUE_H
#define VSET_CALLBACK_QUEUE_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "hw3/hw_types.h"

namespace vset {

// The shape of all callbacks of the middleware.
using EventCallback_t = HW_Result_t (*)(HW_Handle_t hHandle, HW_U32 u32Event, HW_U8* pu8Params);

// A family derives from it and says how a byte becomes a call. The first registration starts the queue's thread, which
// calls without a lock held and never ends; so the queue is never destroyed.
//
//     bytes wait --> the thread takes all of them as one batch of registration n --> it calls once for each byte
//                    registration n ends: the rest of the batch waits for the next registration
//     unregisterCallback(handle) returns when no batch of any registration of that handle runs
//     reset() counts up the power cycles: what is left of a batch of an earlier cycle is discarded
class CallbackQueue {
public:
    // Queues bytes, and counts those that do not fit as dropped.
    void receive(std::string_view bytes);
    // Counts bytes that the queue does not hold.
    void count(std::size_t received, std::size_t dropped);
    // Queues a byte; counts it as dropped while no callback is registered.
    void push(unsigned char u8Byte);

    // Replaces an earlier registration.
    void registerCallback(EventCallback_t pfnCallback, HW_Handle_t hHandle);

    // Ends the registration and waits until no callback of it, or of one that it has replaced, runs. Inside such a
    // callback the wait would not end: returns HW_ERR_BUSY, and the registration stays. HW_ERR_FAILED without one.
    HW_Result_t unregisterCallback(HW_Handle_t hHandle);

    // Ends the registration of the handle, or any for HW_HANDLE_NONE. No callback of that registration runs afterwards,
    // except the one that calls this function.
    void cancelAll(HW_Handle_t hHandle);

    // Resets the queue to its power-on state and discards bytes that no callback has seen.
    void reset();

    // Counts the waiting bytes as dropped and discards them.
    void discardPending();

    struct State {
        bool bCallback;
        std::size_t waiting;
        std::uint64_t u64Received;
        std::uint64_t u64Dropped;
        std::uint64_t u64Refused;  // callbacks that returned anything but 0
    };
    State state();

protected:
    // Never called.
    ~CallbackQueue() = default;

private:
    // The batch whose callbacks the thread is calling; no registration while it calls none.
    struct Batch {
        std::uint64_t u64Registration = 0;
        HW_Handle_t hHandle = HW_HANDLE_NONE;
        std::uint64_t u64PowerCycle = 0;
    };

    // Calls the callback for a byte, on the queue's thread.
    virtual HW_Result_t deliver(EventCallback_t pfnCallback, HW_Handle_t hHandle, unsigned char u8Byte) = 0;

    [[noreturn]] void deliverForever();
    void deliverWaiting(std::unique_lock<std::mutex>& lock);
    // Returns how many bytes wait, those of the present batch included. The caller holds the mutex.
    std::size_t waiting() const {
        return _strWaiting.size() + (_batch.u64PowerCycle == _u64PowerCycle ? _undelivered.load() : 0);
    }
    bool isBatchOf(HW_Handle_t hHandle) const { return _batch.u64Registration != 0 && _batch.hHandle == hHandle; }
    bool isInside() const { return _thread == std::this_thread::get_id(); }

    std::mutex _mutex;
    std::condition_variable _changed;
    std::string _strWaiting;
    std::uint64_t _u64Received = 0;
    std::uint64_t _u64Dropped = 0;
    std::uint64_t _u64PowerCycle = 0;
    std::uint64_t _u64Registrations = 0;  // made so far; also the number of the last one
    EventCallback_t _pfnCallback = nullptr;
    HW_Handle_t _hHandle = HW_HANDLE_NONE;
    std::thread::id _thread;
    Batch _batch;

    // The thread uses these between its callbacks, without the mutex.
    std::atomic<std::uint64_t> _u64Registration{0};  // 0: none
    std::atomic<std::size_t> _undelivered{0};        // bytes of the present batch
    std::atomic<std::uint64_t> _u64Refused{0};
};

}  // namespace vset

#endif
