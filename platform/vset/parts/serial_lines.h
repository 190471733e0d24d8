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

// Makes the missing connectors, which last while the set is attached, and new ttys. Switches routing off.
void switchOnSerialLines(const std::string& strFolder);
// Removes all terminals and the links to them.
void removeSerialLines();

// Starts the thread at the first use of a line, so that a program that uses no line has none.
void startSerialThread();

// Prepares for a program that opens a tty: discards unread bytes if no other program has it open.
void forgetUnreadOfTty(unsigned int u32Port);
// Has the thread serve a tty that a program has opened.
void serveTty(unsigned int u32Port);

// Opens a path that may be a tty with `openIt`, which answers `failure` when it cannot. errno is that of `openIt`.
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

// Receives at the middleware's end of a port whose tty no program has open.
void receiveAtPort(unsigned int u32Port, std::string_view bytes);
// Counts a tty's bytes, and those of them that the tty did not take.
void countAtPort(unsigned int u32Port, std::size_t received, std::size_t dropped);

bool isTtyOpen(unsigned int u32Port);

}  // namespace vset

#endif
