// SPDX-License-Identifier: Apache-2.0
// The buffer in which the two serial links assemble what they receive.
#include "base/fapi_receive_buffer.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace fapi {

bool ReceiveBuffer::allocate() {
    const MutexLock lock(_mutex);
    if (_pu8DataBuff == nullptr) {
        _pu8DataBuff = new (std::nothrow) unsigned char[kSize];
    }
    _u32Count.store(0);
    _bExists.store(_pu8DataBuff != nullptr);
    return _pu8DataBuff != nullptr;
}

void ReceiveBuffer::release() {
    const MutexLock lock(_mutex);
    delete[] _pu8DataBuff;
    _pu8DataBuff = nullptr;
    _bExists.store(false);
}

bool ReceiveBuffer::append(const unsigned char* pu8Bytes, std::size_t length) {
    const MutexLock lock(_mutex);
    if (_pu8DataBuff == nullptr) {
        return false;
    }
    const unsigned int u32Count = _u32Count.load();
    const std::size_t fitting = std::min<std::size_t>(length, kSize - u32Count);
    std::memcpy(_pu8DataBuff + u32Count, pu8Bytes, fitting);
    _u32Count.store(u32Count + static_cast<unsigned int>(fitting));
    return true;
}

bool ReceiveBuffer::takeHeld(const unsigned char* pu8More, std::size_t length,
                             std::vector<unsigned char>& message) noexcept {
    try {
        const MutexLock lock(_mutex);
        if (_pu8DataBuff == nullptr) {
            return false;
        }
        const unsigned int u32Count = _u32Count.exchange(0);
        message.reserve(u32Count + length);
        message.assign(_pu8DataBuff, _pu8DataBuff + u32Count);
        message.insert(message.end(), pu8More, pu8More + length);
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace fapi
