// SPDX-License-Identifier: Apache-2.0
// Cuts the bytes that are written into the command pipe into commands.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include "base/fapi_command_scanner.h"

#include "base/fapi_log.h"

namespace fapi {

namespace {

// The character that a terminal sends for Ctrl-C.
constexpr unsigned char kInterrupt = 0x03;

}  // namespace

// Contract: the last byte counts as the end of a command whatever it is, except an interrupt, and an underscore before
// it as a blank.
void CommandScanner::rewriteTail(unsigned char* pu8Bytes, std::size_t length) const {
    if (pu8Bytes[length - 1] != kInterrupt) {
        pu8Bytes[length - 1] = _u8End;
    }
    if (length >= 2 && pu8Bytes[length - 2] == '_') {
        pu8Bytes[length - 2] = ' ';
    }
}

void CommandScanner::append(unsigned char u8Byte) {
    _au8Command[_u16ReceivedBytes++] = u8Byte;
    if (u8Byte == _u8End) {
        _au8Command[_u16ReceivedBytes - 1] = '\0';
        _receiver.receive(_au8Command, _u16ReceivedBytes);
        _u16ReceivedBytes = 0;
    } else if (_u16ReceivedBytes == kSize) {
        FAPI_LOGE_AS(_pszCaller, FAPI_HIGHLIGHT("[%s, %s, %d] buffer overflow detected!! u16ReceivedBytes = %d") "\n\n",
                     fapi::baseName(__FILE__), _pszCaller, __LINE__, _u16ReceivedBytes);
        _u16ReceivedBytes = 0;
    }
}

bool CommandScanner::scan(unsigned char* pu8Bytes, std::size_t length) {
    rewriteTail(pu8Bytes, length);
    for (std::size_t i = 0; i < length; ++i) {
        append(pu8Bytes[i]);
    }
    // An interrupt alone leaves bytes without an end.
    return _u16ReceivedBytes == 0;
}

}  // namespace fapi
