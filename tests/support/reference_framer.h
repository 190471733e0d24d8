// SPDX-License-Identifier: Apache-2.0
// The cut of the standard factory link byte for byte, as slow and as plain as can be, to hold the real one against.
#ifndef TESTS_SUPPORT_REFERENCE_FRAMER_H
#define TESTS_SUPPORT_REFERENCE_FRAMER_H

#include <string>
#include <vector>

#include "base/fapi_message_framer.h"

namespace test {

class ReferenceFramer {
public:
    explicit ReferenceFramer(const fapi::FramerSettings& settings) : _settings(settings) {}

    void adoptLimit() {
        if (_settings.u32TargetBufferLimit == _limit) {
            return;
        }
        if (!_held.empty()) {
            send();
        } else {
            _limit = _settings.u32TargetBufferLimit;
        }
    }

    void feed(const std::string& bytes) {
        for (const char byte : bytes) {
            const int mode = _settings.s8Mode;
            const bool endsLine = mode == 0 && (byte == '\r' || byte == '\n');
            const bool endsMessage = mode == 2 && static_cast<unsigned char>(byte) == _settings.u8Terminator;
            if (!endsLine && !endsMessage) {
                _held += byte;
            } else if (!_held.empty()) {
                send();
            }
            if (_held.size() >= _limit) {
                send();
            }
        }
    }

    const std::vector<std::string>& messages() const { return _messages; }

private:
    void send() {
        _messages.push_back(_held);
        _held.clear();
    }

    const fapi::FramerSettings& _settings;
    std::size_t _limit = fapi::ReceiveBuffer::kSize;
    std::string _held;
    std::vector<std::string> _messages;
};

// The real one, its messages as texts.
class Framer : private fapi::MessageReceiver {
public:
    explicit Framer(const fapi::FramerSettings& settings) : _framer(_buffer, settings, *this) { _buffer.allocate(); }
    virtual ~Framer() { _buffer.release(); }
    Framer(const Framer&) = delete;
    Framer& operator=(const Framer&) = delete;

    void adoptLimit() { _framer.adoptLimit(); }
    // Memory of exactly that size.
    void feed(const std::string& bytes) {
        const std::vector<unsigned char> exact(bytes.begin(), bytes.end());
        _framer.feed(exact.data(), exact.size());
    }

    fapi::ReceiveBuffer& buffer() { return _buffer; }
    const std::vector<std::string>& messages() const { return _messages; }

protected:
    void receive(const fapi_core::VexTvFApiEventCommonObject& message) override {
        _messages.emplace_back(message.data.begin(), message.data.end());
    }

private:
    fapi::ReceiveBuffer _buffer;
    fapi::MessageFramer _framer;
    std::vector<std::string> _messages;
};

}  // namespace test

#endif
