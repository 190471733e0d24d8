// SPDX-License-Identifier: Apache-2.0
// The buffer in which the two serial links assemble what they receive.
#ifndef FAPI_RECEIVE_BUFFER_H
#define FAPI_RECEIVE_BUFFER_H

#include <atomic>
#include <cstddef>
#include <vector>

#include "base/fapi_mutex.h"

namespace fapi {

// A buffer that one thread fills while another may free it: a mutex is held only while bytes move. Constant-initialized
// and without a destructor, because a receiving thread may outlive the last call into the library.
class ReceiveBuffer {
public:
    static constexpr unsigned int kSize = 0x40000;

    constexpr ReceiveBuffer() = default;

    // Empties the buffer, and allocates it when there is none. False without memory.
    bool allocate() FAPI_EXCLUDES(_mutex);
    void release() FAPI_EXCLUDES(_mutex);

    bool exists() const { return _bExists.load(); }
    unsigned int count() const { return _u32Count.load(); }
    void clear() { _u32Count.store(0); }

    // Appends what fits. False when there is no buffer.
    bool append(const unsigned char* pu8Bytes, std::size_t length) FAPI_EXCLUDES(_mutex);

    // Moves the held bytes, followed by the bytes given, into `message`. False when there is no buffer or no memory for
    // the message, which is then lost.
    bool take(const unsigned char* pu8More, std::size_t length, std::vector<unsigned char>& message) noexcept
        FAPI_EXCLUDES(_mutex) {
        // On a busy line most messages lie inside one read, and none of their bytes was ever held.
        return count() == 0 ? exists() && assign(pu8More, length, message) : takeHeld(pu8More, length, message);
    }

private:
    static bool assign(const unsigned char* pu8Bytes, std::size_t length,
                       std::vector<unsigned char>& message) noexcept {
        try {
            message.assign(pu8Bytes, pu8Bytes + length);
            return true;
        } catch (...) {
            return false;
        }
    }
    bool takeHeld(const unsigned char* pu8More, std::size_t length, std::vector<unsigned char>& message) noexcept
        FAPI_EXCLUDES(_mutex);

    Mutex _mutex;
    unsigned char* _pu8DataBuff FAPI_GUARDED_BY(_mutex) = nullptr;
    std::atomic<bool> _bExists{false};
    std::atomic<unsigned int> _u32Count{0};
};

}  // namespace fapi

#endif
