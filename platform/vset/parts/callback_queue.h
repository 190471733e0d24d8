// SPDX-License-Identifier: Apache-2.0
// What waits for a registered callback, and the thread that it runs on.
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

// A family says what a byte of the queue means to its callback. Never destroyed: its thread, which starts with the
// first registration, lives for ever. Callbacks run on it alone, with no lock held.
class CallbackQueue {
public:
    void receive(std::string_view bytes);
    void count(std::size_t received, std::size_t dropped);
    // For what does not wait for somebody to register: the byte is dropped and counted while nobody is.
    void offer(unsigned char u8Byte);

    // A former registration is replaced.
    void enlist(EventCallback_t pfnCallback, HW_Handle_t hHandle);

    // Ends the registration, and returns when no callback of it runs or will start. Inside that callback this would be
    // never: HW_ERR_BUSY, and the registration stays. HW_ERR_FAILED without one.
    HW_Result_t discharge(HW_Handle_t hHandle);

    // Ends what is registered under the handle, or all for HW_HANDLE_NONE. No callback of it runs afterwards, except
    // the one that this is called from.
    void end(HW_Handle_t hHandle);

    // As after switching on. What a callback of before has not seen yet is forgotten, too.
    void reset();

    // Counts what waits as dropped.
    void drop();

    struct State {
        bool bCallback;
        std::size_t waiting;
        std::uint64_t u64Received;
        std::uint64_t u64Dropped;
        std::uint64_t u64Refused;  // callbacks that answered anything but 0
    };
    State state();

protected:
    // Never called.
    ~CallbackQueue() = default;

private:
    // Calls the callback for a byte, on the queue's thread.
    virtual HW_Result_t deliver(EventCallback_t pfnCallback, HW_Handle_t hHandle, unsigned char u8Byte) = 0;

    [[noreturn]] void deliverForEver();
    void deliverWaiting(std::unique_lock<std::mutex>& lock);
    // The caller holds the mutex.
    std::size_t waiting() const { return _strWaiting.size() + (_u64BatchResets == _u64Resets ? _inHand.load() : 0); }
    bool isInside() const { return _thread == std::this_thread::get_id(); }

    std::mutex _mutex;
    std::condition_variable _changed;
    std::string _strWaiting;
    std::uint64_t _u64Received = 0;
    std::uint64_t _u64Dropped = 0;
    std::uint64_t _u64Resets = 0;
    std::uint64_t _u64Registrations = 0;
    EventCallback_t _pfnCallback = nullptr;
    HW_Handle_t _hHandle = HW_HANDLE_NONE;
    std::thread::id _thread;

    // Of the registration among whose callbacks the thread is, and the life of the set that its bytes came in.
    std::uint64_t _u64Running = 0;
    HW_Handle_t _hRunning = HW_HANDLE_NONE;
    std::uint64_t _u64BatchResets = 0;

    // The thread uses these between its callbacks, without the mutex. 0: nobody is registered.
    std::atomic<std::uint64_t> _u64Registration{0};
    std::atomic<std::size_t> _inHand{0};
    std::atomic<std::uint64_t> _u64Refused{0};
};

}  // namespace vset

#endif
