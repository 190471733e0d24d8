// SPDX-License-Identifier: Apache-2.0
// Cuts the bytes that are written into the command pipe into commands.
#ifndef FAPI_COMMAND_SCANNER_H
#define FAPI_COMMAND_SCANNER_H

#include <cstddef>

namespace fapi {

// Receives the commands, on the scanning thread.
class CommandReceiver {
public:
    // Takes a command, with a zero byte in place of its end; valid during the call.
    virtual void receive(const unsigned char* pu8Command, std::size_t length) = 0;

protected:
    ~CommandReceiver() = default;
};

class CommandScanner {
public:
    static constexpr std::size_t kSize = 2048;

    // Logs under the name of the function that makes the scanner, or the name given.
    CommandScanner(unsigned char u8End, CommandReceiver& receiver, const char* pszCaller = __builtin_FUNCTION())
        : _u8End(u8End), _receiver(receiver), _pszCaller(pszCaller) {}

    // Scans the bytes of one read, at least one, and rewrites the last of them. False when they end in an interrupt:
    // the unfinished command is lost then, and nothing more is to be read.
    bool scan(unsigned char* pu8Bytes, std::size_t length);

private:
    void rewriteTail(unsigned char* pu8Bytes, std::size_t length) const;
    void append(unsigned char u8Byte);

    const unsigned char _u8End;
    CommandReceiver& _receiver;
    const char* const _pszCaller;
    unsigned short _u16ReceivedBytes = 0;
    unsigned char _au8Command[kSize];
};

}  // namespace fapi

#endif
