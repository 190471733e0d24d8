// SPDX-License-Identifier: Apache-2.0
// Bytes that wait for a registered callback, and the thread that calls it.
#include "callback_queue.h"

#include <algorithm>

#include "vset_call.h"
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

void CallbackQueue::push(unsigned char u8Byte) {
    const std::lock_guard<std::mutex> lock(_mutex);
    ++_u64Received;
    if (_u64Registration == 0 || waiting() == kQueueSize) {
        ++_u64Dropped;
        return;
    }
    _strWaiting += static_cast<char>(u8Byte);
    _changed.notify_all();
}

void CallbackQueue::registerCallback(EventCallback_t pfnCallback, HW_Handle_t hHandle) {
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_thread == std::thread::id()) {
        std::thread thread([this] { deliverForever(); });
        _thread = thread.get_id();
        thread.detach();
    }
    _pfnCallback = pfnCallback;
    _hHandle = hHandle;
    _u64Registration = ++_u64Registrations;
    _changed.notify_all();
}

HW_Result_t CallbackQueue::unregisterCallback(HW_Handle_t hHandle) {
    // The callback for which this function waits may switch the power.
    const detail::WithoutPower wait;
    std::unique_lock<std::mutex> lock(_mutex);
    if (_u64Registration == 0 || _hHandle != hHandle) {
        return HW_ERR_FAILED;
    }
    if (isInside() && isBatchOf(hHandle)) {
        return HW_ERR_BUSY;
    }
    const std::uint64_t u64Last = _u64Registration.exchange(0);
    _changed.wait(lock, [&] { return !isBatchOf(hHandle) || _batch.u64Registration > u64Last; });
    return HW_OK;
}

void CallbackQueue::cancelAll(HW_Handle_t hHandle) {
    const detail::WithoutPower wait;
    std::unique_lock<std::mutex> lock(_mutex);
    const bool bAll = hHandle == HW_HANDLE_NONE;
    if (bAll || _hHandle == hHandle) {
        _u64Registration = 0;
    }
    if (!isInside()) {
        _changed.wait(lock, [&] { return bAll ? _batch.u64Registration == 0 : !isBatchOf(hHandle); });
    }
}

void CallbackQueue::reset() {
    const std::lock_guard<std::mutex> lock(_mutex);
    ++_u64PowerCycle;
    // Another thread may have registered a callback again since cancelAll().
    _u64Registration = 0;
    _strWaiting.clear();
    _u64Received = _u64Dropped = 0;
    _u64Refused = 0;
}

void CallbackQueue::discardPending() {
    const std::lock_guard<std::mutex> lock(_mutex);
    _u64Dropped += _strWaiting.size();
    _strWaiting.clear();
}

CallbackQueue::State CallbackQueue::state() {
    const std::lock_guard<std::mutex> lock(_mutex);
    return {_u64Registration != 0, waiting(), _u64Received, _u64Dropped, _u64Refused};
}

void CallbackQueue::deliverForever() {
    nameThread("hw3-callback");
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
        _changed.wait(lock, [this] { return _u64Registration != 0 && !_strWaiting.empty(); });
        deliverWaiting(lock);
    }
}

// Delivers the waiting bytes as one batch while its registration lasts; the next registration receives the rest.
void CallbackQueue::deliverWaiting(std::unique_lock<std::mutex>& lock) {
    _batch = {_u64Registration, _hHandle, _u64PowerCycle};
    const Batch batch = _batch;
    const EventCallback_t pfnCallback = _pfnCallback;
    std::string strBytes;
    strBytes.swap(_strWaiting);
    _undelivered = strBytes.size();
    lock.unlock();
    std::size_t delivered = 0;
    while (delivered < strBytes.size() && _u64Registration == batch.u64Registration) {
        const auto u8Byte = static_cast<unsigned char>(strBytes[delivered++]);
        const bool bRefused = deliver(pfnCallback, batch.hHandle, u8Byte) != HW_OK;
        --_undelivered;
        _u64Refused += bRefused ? 1 : 0;
    }
    lock.lock();
    if (batch.u64PowerCycle == _u64PowerCycle) {
        _strWaiting.insert(0, strBytes, delivered);
    }
    _undelivered = 0;
    _batch = {};
    _changed.notify_all();
}

}  // namespace vset
