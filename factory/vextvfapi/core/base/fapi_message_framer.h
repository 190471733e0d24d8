// SPDX-License-Identifier: Apache-2.0
// Cuts the byte stream of the standard factory link into messages.
#ifndef FAPI_MESSAGE_FRAMER_H
#define FAPI_MESSAGE_FRAMER_H

#include <atomic>
#include <cstddef>

#include "base/fapi_receive_buffer.h"
#include "fapi_core.h"

namespace fapi {

// How the stream is cut. The host's thread changes this while the framer works.
struct FramerSettings {
    enum Mode : signed char { line = 0, size = 1, terminator = 2, byte = 3 };
    static constexpr unsigned char kCarriageReturn = 13;

    constexpr FramerSettings() = default;

    // What the start of a link and its stop put back; the mode stays.
    void reset() {
        u8Terminator.store(kCarriageReturn);
        u32TargetBufferLimit.store(ReceiveBuffer::kSize);
    }

    // Any value below 4 may be set; a negative one acts as `size`.
    std::atomic<signed char> s8Mode{line};
    std::atomic<unsigned char> u8Terminator{kCarriageReturn};
    // A message of this many bytes is sent whatever is in it.
    std::atomic<unsigned int> u32TargetBufferLimit{ReceiveBuffer::kSize};
};

// Who gets the messages, on the thread that feeds.
class MessageReceiver {
public:
    // The bytes are the object's data; the object is the framer's, for the duration of the call.
    virtual void receive(const fapi_core::VexTvFApiEventCommonObject& message) = 0;

protected:
    ~MessageReceiver() = default;
};

// Bytes of an unfinished message are held in the buffer, which another thread may take away: the rest is then dropped.
class MessageFramer {
public:
    // Logs under the name of the function that makes the framer.
    MessageFramer(ReceiveBuffer& buffer, const FramerSettings& settings, MessageReceiver& receiver,
                  const char* pszCaller = __builtin_FUNCTION())
        : _buffer(buffer), _settings(settings), _receiver(receiver), _pszCaller(pszCaller) {}

    // Takes over a changed limit, before each read. What is held is sent first, and the old limit then holds for one
    // read more.
    void adoptLimit();

    // Cuts what a read brought. Mode and terminator count as they are when a byte's turn comes.
    void feed(const unsigned char* pu8Bytes, std::size_t length);

private:
    // Sends the message that the bytes complete, unless it is empty.
    void endMessage(unsigned int u32Held, const unsigned char* pu8Bytes, std::size_t length);
    void send(const unsigned char* pu8Bytes, std::size_t length);

    ReceiveBuffer& _buffer;
    const FramerSettings& _settings;
    MessageReceiver& _receiver;
    const char* const _pszCaller;
    unsigned int _u32Limit = ReceiveBuffer::kSize;
    // Reused, so that a message costs no allocation.
    fapi_core::VexTvFApiEventCommonObject _message;
};

}  // namespace fapi

#endif
