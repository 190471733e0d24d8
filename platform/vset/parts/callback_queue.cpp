// SPDX-License-Identifier: Apache-2.0
// What waits for a registered callback, and the thread that it runs on.
#include "callback_queue.h"

#include <algorithm>

#include "vset_thread.h"

namespace vset {

namespace {

// Bytes that wait for a callback; more are dropped.
constexpr std::size_t kQueueSize = 65536;

}  // namespace

void CallbackQueue::receive(std::string_view bytes) {
    const std::lock_guard<std::mutex> lock(_mutex);
    const std::size_t fitting = std::min(bytes.size(), kQueueSize - waiting());
    _strWaiting.append(bytes, 0, fitting);
    _u64Received += bytes.size();
    _u64Dropped += bytes.size() - fitting;
    _changed.notify_all();
}

void CallbackQueue::count(std::size_t received, std::size_t dropped) {
    const std::lock_guard<std::mutex> lock(_mutex);
    _u64Received += received;
    _u64Dropped += dropped;
}

void CallbackQueue::offer(unsigned char u8Byte) {
    const std::lock_guard<std::mutex> lock(_mutex);
    ++_u64Received;
    if (_u64Registration == 0 || waiting() == kQueueSize) {
        ++_u64Dropped;
        return;
    }
    _strWaiting += static_cast<char>(u8Byte);
    _changed.notify_all();
}

void CallbackQueue::enlist(EventCallback_t pfnCallback, HW_Handle_t hHandle) {
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_thread == std::thread::id()) {
        std::thread thread([this] { deliverForEver(); });
        _thread = thread.get_id();
        thread.detach();
    }
    _pfnCallback = pfnCallback;
    _hHandle = hHandle;
    _u64Registration = ++_u64Registrations;
    _changed.notify_all();
}

HW_Result_t CallbackQueue::discharge(HW_Handle_t hHandle) {
    std::unique_lock<std::mutex> lock(_mutex);
    const std::uint64_t u64Registration = _u64Registration;
    if (u64Registration == 0 || _hHandle != hHandle) {
        return HW_ERR_FAILED;
    }
    if (_u64Running == u64Registration && isInside()) {
        return HW_ERR_BUSY;
    }
    _u64Registration = 0;
    _changed.wait(lock, [&] { return _u64Running != u64Registration; });
    return HW_OK;
}

void CallbackQueue::end(HW_Handle_t hHandle) {
    std::unique_lock<std::mutex> lock(_mutex);
    const bool bAll = hHandle == HW_HANDLE_NONE;
    if (bAll || _hHandle == hHandle) {
        _u64Registration = 0;
    }
    if (!isInside()) {
        _changed.wait(lock, [&] { return _u64Running == 0 || (!bAll && _hRunning != hHandle); });
    }
}

void CallbackQueue::reset() {
    const std::lock_guard<std::mutex> lock(_mutex);
    ++_u64Resets;
    _strWaiting.clear();
    _u64Received = _u64Dropped = 0;
    _u64Refused = 0;
}

void CallbackQueue::drop() {
    const std::lock_guard<std::mutex> lock(_mutex);
    _u64Dropped += _strWaiting.size();
    _strWaiting.clear();
}

CallbackQueue::State CallbackQueue::state() {
    const std::lock_guard<std::mutex> lock(_mutex);
    return {_u64Registration != 0, waiting(), _u64Received, _u64Dropped, _u64Refused};
}

void CallbackQueue::deliverForEver() {
    nameThread("hw3-callback");
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
        _changed.wait(lock, [this] { return _u64Registration != 0 && !_strWaiting.empty(); });
        deliverWaiting(lock);
    }
}

// All that waits, for as long as the registration stands. What it does not see is the next one's.
void CallbackQueue::deliverWaiting(std::unique_lock<std::mutex>& lock) {
    const std::uint64_t u64Registration = _u64Registration;
    const EventCallback_t pfnCallback = _pfnCallback;
    const HW_Handle_t hHandle = _hHandle;
    std::string strBatch;
    strBatch.swap(_strWaiting);
    _inHand = strBatch.size();
    _u64BatchResets = _u64Resets;
    _u64Running = u64Registration;
    _hRunning = hHandle;
    lock.unlock();
    std::size_t delivered = 0;
    while (delivered < strBatch.size() && _u64Registration == u64Registration) {
        const auto u8Byte = static_cast<unsigned char>(strBatch[delivered++]);
        const bool bRefused = deliver(pfnCallback, hHandle, u8Byte) != HW_OK;
        --_inHand;
        _u64Refused += bRefused ? 1 : 0;
    }
    lock.lock();
    if (_u64BatchResets == _u64Resets) {
        _strWaiting.insert(0, strBatch, delivered);
    }
    _inHand = 0;
    _u64Running = 0;
    _changed.notify_all();
}

}  // namespace vset
