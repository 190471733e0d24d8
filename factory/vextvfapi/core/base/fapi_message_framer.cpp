// SPDX-License-Identifier: Apache-2.0
// Cuts the byte stream of the standard factory link into messages.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include "base/fapi_message_framer.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "base/fapi_log.h"
#include "base/fapi_log_text.h"

namespace fapi {

static const unsigned char* find(const unsigned char* pu8Bytes, const unsigned char* pu8End, unsigned char u8Byte) {
    const void* pFound = std::memchr(pu8Bytes, u8Byte, static_cast<std::size_t>(pu8End - pu8Bytes));
    return pFound != nullptr ? static_cast<const unsigned char*>(pFound) : pu8End;
}

namespace {

// The next CR or LF. Each search starts at the place found last: where only one of the two is sent, a search for the
// other from each message would read all that follows.
class LineEnds {
public:
    explicit LineEnds(const unsigned char* pu8End) : _pu8End(pu8End) {}

    const unsigned char* next(const unsigned char* pu8From) {
        return std::min(advance(_pu8CarriageReturn, pu8From, '\r'), advance(_pu8LineFeed, pu8From, '\n'));
    }

private:
    const unsigned char* advance(const unsigned char*& pu8Found, const unsigned char* pu8From, unsigned char u8Byte) {
        if (std::less<>()(pu8Found, pu8From)) {
            pu8Found = find(pu8From, _pu8End, u8Byte);
        }
        return pu8Found;
    }

    const unsigned char* const _pu8End;
    // Null, which is less than any address, before the first search.
    const unsigned char* _pu8CarriageReturn = nullptr;
    const unsigned char* _pu8LineFeed = nullptr;
};

// Why a run of bytes of one message ends: the settings changed, a terminator follows, the limit is reached, or the
// input is used up.
enum class RunEnd { settings, terminator, limit, input };

struct Run {
    std::size_t bytes;
    RunEnd eEnd;
};

}  // namespace

// Finds the next bytes of the message, which lacks `room` bytes to the limit. A change of the settings takes effect at
// the next byte, so a run counts only if there was none during the search.
static Run nextRun(const FramerSettings& settings, const unsigned char* pu8Bytes, const unsigned char* pu8End,
                   std::size_t room, LineEnds& lineEnds) {
    const signed char s8Mode = settings.s8Mode.load();
    const std::size_t size = std::min(room, static_cast<std::size_t>(pu8End - pu8Bytes));
    const unsigned char* pu8Stop = pu8Bytes + size;
    bool bChanged = false;
    if (s8Mode == FramerSettings::line) {
        pu8Stop = std::min(pu8Stop, lineEnds.next(pu8Bytes));
    } else if (s8Mode == FramerSettings::terminator) {
        const unsigned char u8Terminator = settings.u8Terminator.load();
        pu8Stop = find(pu8Bytes, pu8Stop, u8Terminator);
        bChanged = settings.u8Terminator.load() != u8Terminator;
    }
    if (bChanged || settings.s8Mode.load() != s8Mode) {
        return {0, RunEnd::settings};
    }
    const auto bytes = static_cast<std::size_t>(pu8Stop - pu8Bytes);
    if (bytes < size) {
        return {bytes, RunEnd::terminator};
    }
    return {bytes, bytes == room ? RunEnd::limit : RunEnd::input};
}

// Kept out of line: it lies on every message's path, but is needed only with the log on.
__attribute__((noinline)) static BoundedText textOf(const std::vector<unsigned char>& data) {
    // A vector that never held anything has no address, but its text is empty and not null.
    static const unsigned char kNothing[1] = {};
    return {data.empty() ? kNothing : data.data(), data.size()};
}

void MessageFramer::adoptLimit() {
    const unsigned int u32Limit = _settings.u32TargetBufferLimit.load();
    if (u32Limit == _u32Limit) {
        return;
    }
    if (_buffer.count() != 0) {
        FAPI_LOGI_AS(_pszCaller, "[std_factory_uart]clear buffer and send out the rest data\n\n");
        send(nullptr, 0);
        return;
    }
    FAPI_LOGD_AS(_pszCaller, "[std_factory_uart]change size to: %d\n\n", static_cast<int>(u32Limit));
    _u32Limit = u32Limit;
}

void MessageFramer::feed(const unsigned char* pu8Bytes, std::size_t length) {
    const unsigned char* const pu8End = pu8Bytes + length;
    const unsigned int u32Limit = _u32Limit;
    LineEnds lineEnds(pu8End);
    while (pu8Bytes != pu8End && _buffer.exists()) {
        const unsigned int u32Held = _buffer.count();
        // A limit of 0 is reached by the first byte.
        const std::size_t room = u32Limit > u32Held ? u32Limit - u32Held : 1;
        const Run run = nextRun(_settings, pu8Bytes, pu8End, room, lineEnds);
        const unsigned char* const pu8Run = pu8Bytes;
        pu8Bytes += run.bytes;
        switch (run.eEnd) {
            case RunEnd::settings:
                break;
            case RunEnd::terminator:
                ++pu8Bytes;
                endMessage(u32Held, pu8Run, run.bytes);
                break;
            case RunEnd::limit:
                FAPI_LOGD_AS(_pszCaller, "[std_factory_uart] buffer full\n\n");
                send(pu8Run, run.bytes);
                break;
            case RunEnd::input:
                _buffer.append(pu8Run, run.bytes);
                break;
        }
    }
}

void MessageFramer::endMessage(unsigned int u32Held, const unsigned char* pu8Bytes, std::size_t length) {
    if (u32Held + length != 0) {
        send(pu8Bytes, length);
    } else {
        FAPI_LOGD_AS(_pszCaller, "[std_factory_uart] Uart command length is 0\n\n");
    }
    // The limit is also checked after a terminator; a limit of 0 is reached without a byte.
    if (_u32Limit == 0) {
        FAPI_LOGD_AS(_pszCaller, "[std_factory_uart] buffer full\n\n");
        send(nullptr, 0);
    }
}

void MessageFramer::send(const unsigned char* pu8Bytes, std::size_t length) {
    if (!_buffer.take(pu8Bytes, length, _message.data)) {
        return;
    }
    FAPI_LOGD_AS(_pszCaller, "[std_factory_uart] length= %d\n\n", static_cast<int>(_message.data.size()));
    FAPI_LOGD_AS(_pszCaller, "[std_factory_uart] %s\n\n", textOf(_message.data).get());
    _receiver.receive(_message);
}

}  // namespace fapi
