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

    // Resets terminator and limit, at the start of a link and at its stop; the mode stays.
    void reset() {
        u8Terminator.store(kCarriageReturn);
        u32TargetBufferLimit.store(ReceiveBuffer::kSize);
    }

    // Any value below 4; a negative one acts as `size`.
    std::atomic<signed char> s8Mode{line};
    std::atomic<unsigned char> u8Terminator{kCarriageReturn};
    // A message of this many bytes is sent whatever its last byte is.
    std::atomic<unsigned int> u32TargetBufferLimit{ReceiveBuffer::kSize};
};

// Receives the messages, on the feeding thread.
class MessageReceiver {
public:
    // Takes a message: the bytes are the object's data. The object is the framer's, and valid during the call.
    virtual void receive(const fapi_core::VexTvFApiEventCommonObject& message) = 0;

protected:
    ~MessageReceiver() = default;
};

// Holds the bytes of an unfinished message in the buffer. Another thread may release the buffer: the rest is dropped
// then.
class MessageFramer {
public:
    // Logs under the name of the function that makes the framer.
    MessageFramer(ReceiveBuffer& buffer, const FramerSettings& settings, MessageReceiver& receiver,
                  const char* pszCaller = __builtin_FUNCTION())
        : _buffer(buffer), _settings(settings), _receiver(receiver), _pszCaller(pszCaller) {}

    // Takes over a changed limit; to be called before each read. Contract: held bytes are sent first, and the old limit
    // then holds for one more read.
    void adoptLimit();

    // Cuts the bytes of one read. Mode and terminator are those at a byte's turn.
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
    // One object for all messages, so that a message costs no allocation.
    fapi_core::VexTvFApiEventCommonObject _message;
};

}  // namespace fapi

#endif
