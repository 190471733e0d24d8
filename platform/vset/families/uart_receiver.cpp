// SPDX-License-Identifier: Apache-2.0
// A serial port's way from the line to the registered callback.
#include "uart_receiver.h"

#include <algorithm>

namespace vset {

namespace {

// Bytes that wait for a callback; more are dropped.
constexpr std::size_t kQueueSize = 65536;

}  // namespace

void UartReceiver::receive(std::string_view bytes) {
    const std::lock_guard<std::mutex> lock(_mutex);
    const std::size_t fitting = std::min(bytes.size(), kQueueSize - waiting());
    _strWaiting.append(bytes, 0, fitting);
    _u64Received += bytes.size();
    _u64Dropped += bytes.size() - fitting;
    _changed.notify_all();
}

void UartReceiver::count(std::size_t received, std::size_t dropped) {
    const std::lock_guard<std::mutex> lock(_mutex);
    _u64Received += received;
    _u64Dropped += dropped;
}

void UartReceiver::enlist(HW_UART_EventCallback_t pfnCallback, HW_Handle_t hUart) {
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_thread == std::thread::id()) {
        std::thread thread([this] { deliverForEver(); });
        _thread = thread.get_id();
        thread.detach();
    }
    _pfnCallback = pfnCallback;
    _hUart = hUart;
    _u64Registration = ++_u64Registrations;
    _changed.notify_all();
}

HW_Result_t UartReceiver::discharge(HW_Handle_t hUart) {
    std::unique_lock<std::mutex> lock(_mutex);
    const std::uint64_t u64Registration = _u64Registration;
    if (u64Registration == 0 || _hUart != hUart) {
        return HW_ERR_FAILED;
    }
    if (_u64Running == u64Registration && isInside()) {
        return HW_ERR_BUSY;
    }
    _u64Registration = 0;
    _changed.wait(lock, [&] { return _u64Running != u64Registration; });
    return HW_OK;
}

void UartReceiver::end(HW_Handle_t hUart) {
    std::unique_lock<std::mutex> lock(_mutex);
    const bool bAll = hUart == HW_HANDLE_NONE;
    if (bAll || _hUart == hUart) {
        _u64Registration = 0;
    }
    if (!isInside()) {
        _changed.wait(lock, [&] { return _u64Running == 0 || (!bAll && _hRunning != hUart); });
    }
}

void UartReceiver::reset() {
    const std::lock_guard<std::mutex> lock(_mutex);
    ++_u64Resets;
    _strWaiting.clear();
    _u64Received = _u64Dropped = 0;
    _u64Refused = 0;
}

void UartReceiver::describe(uart::Port& stPort) {
    const std::lock_guard<std::mutex> lock(_mutex);
    stPort.bCallback = _u64Registration != 0;
    stPort.u32Waiting = static_cast<unsigned int>(waiting());
    stPort.u64Received = _u64Received;
    stPort.u64Dropped = _u64Dropped;
    stPort.u64Refused = _u64Refused;
}

void UartReceiver::deliverForEver() {
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
        _changed.wait(lock, [this] { return _u64Registration != 0 && !_strWaiting.empty(); });
        deliverWaiting(lock);
    }
}

// All that waits, for as long as the registration stands. What it does not see is the next one's.
void UartReceiver::deliverWaiting(std::unique_lock<std::mutex>& lock) {
    const std::uint64_t u64Registration = _u64Registration;
    const HW_UART_EventCallback_t pfnCallback = _pfnCallback;
    const HW_Handle_t hUart = _hUart;
    std::string strBatch;
    strBatch.swap(_strWaiting);
    _inHand = strBatch.size();
    _u64BatchResets = _u64Resets;
    _u64Running = u64Registration;
    _hRunning = hUart;
    lock.unlock();
    std::size_t delivered = 0;
    while (delivered < strBatch.size() && _u64Registration == u64Registration) {
        HW_U8 u8Byte = static_cast<HW_U8>(strBatch[delivered++]);
        const bool bRefused = pfnCallback(hUart, HW_UART_EVENT_RX_CHAR, &u8Byte) != HW_OK;
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
