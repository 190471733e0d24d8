// SPDX-License-Identifier: Apache-2.0
// The set's serial connectors and ttys: pseudo-terminals, and the thread that moves bytes between them and the ports.
#ifndef VSET_SERIAL_LINES_H
#define VSET_SERIAL_LINES_H

#include <cerrno>
#include <string>
#include <string_view>

#include "vset_paths.h"
#include "vset_storage.h"

namespace vset {

// Makes what is missing: connectors once for as long as the set is attached, ttys anew. The routing switch is off.
void switchOnSerialLines(const std::string& strFolder);
// Everything goes away, with the links that lead to it.
void removeSerialLines();

// From the first use of a line on there is a thread. None before: a program that uses no line gets by without.
void startSerialThread();

// A program is about to open a tty: when nobody else has it open, what was not read is gone.
void forgetUnreadOfTty(unsigned int u32Port);
// A program has opened a tty, which the thread is to serve from now on.
void serveTty(unsigned int u32Port);

// Opens what may be a tty with `openIt`, which answers `failure` when it cannot. errno is that of `openIt`.
template <class Result, class OpenIt>
Result openServed(const char* pszPath, Result failure, const OpenIt& openIt) {
    const int s32Port = serialPortOf(pszPath);
    if (s32Port < 0) {
        const Result result = openIt();
        if (result == failure && errno == ENOSPC) {
            tellFullDisk(pszPath);
        }
        return result;
    }
    const int s32Errno = errno;
    forgetUnreadOfTty(static_cast<unsigned int>(s32Port));
    errno = s32Errno;
    const Result result = openIt();
    if (result != failure) {
        serveTty(static_cast<unsigned int>(s32Port));
        errno = s32Errno;
    }
    return result;
}

// Sends bytes out of the connector that the port is wired to.
void transmit(unsigned int u32Port, std::string_view bytes);

// The middleware's end: what has arrived at a port whose tty nobody has open.
void receiveAtPort(unsigned int u32Port, std::string_view bytes);
// Bytes that are a tty's, and those of them that it did not take.
void countAtPort(unsigned int u32Port, std::size_t received, std::size_t dropped);

bool isTtyOpen(unsigned int u32Port);

}  // namespace vset

#endif
