// SPDX-License-Identifier: Apache-2.0
// The PC's side of a serial line of the set.
#include "pseudo_terminal.h"

#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include "vset_open_files.h"

namespace vset {

namespace {

constexpr int kFlags = O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC;

void makeRaw(int s32Terminal) {
    termios stTerminal = {};
    tcgetattr(s32Terminal, &stTerminal);
    cfmakeraw(&stTerminal);
    tcsetattr(s32Terminal, TCSANOW, &stTerminal);
}

std::size_t countOf(ssize_t length) {
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

void closeAndForget(int& s32Fd) {
    if (s32Fd >= 0) {
        ::close(s32Fd);
    }
    s32Fd = -1;
}

}  // namespace

PseudoTerminal::PseudoTerminal(FarEnd eFarEnd) {
    _s32Near = moveAside(posix_openpt(kFlags));
    char acPath[64];
    if (_s32Near < 0 || grantpt(_s32Near) != 0 || unlockpt(_s32Near) != 0 ||
        ptsname_r(_s32Near, acPath, sizeof(acPath)) != 0) {
        close();
        return;
    }
    _strPath = acPath;
    // The far end is opened once in any case: only an end that has been open can hang up.
    _s32Far = moveAside(open(acPath, kFlags));
    if (_s32Far < 0) {
        close();
        return;
    }
    makeRaw(_s32Far);
    if (eFarEnd == FarEnd::closed) {
        closeAndForget(_s32Far);
    }
}

PseudoTerminal::PseudoTerminal(PseudoTerminal&& other) noexcept {
    *this = std::move(other);
}

PseudoTerminal& PseudoTerminal::operator=(PseudoTerminal&& other) noexcept {
    std::swap(_s32Near, other._s32Near);
    std::swap(_s32Far, other._s32Far);
    std::swap(_strPath, other._strPath);
    other.close();
    return *this;
}

PseudoTerminal::~PseudoTerminal() {
    close();
}

void PseudoTerminal::close() {
    closeAndForget(_s32Near);
    closeAndForget(_s32Far);
    _strPath.clear();
}

bool PseudoTerminal::isHungUp() const {
    pollfd stEnd = {_s32Near, 0, 0};
    return !exists() || (poll(&stEnd, 1, 0) > 0 && (stEnd.revents & POLLHUP) != 0);
}

std::size_t PseudoTerminal::read(char* pcBuffer, std::size_t size) const {
    return countOf(::read(_s32Near, pcBuffer, size));
}

std::size_t PseudoTerminal::write(std::string_view bytes) const {
    return countOf(::write(_s32Near, bytes.data(), bytes.size()));
}

void PseudoTerminal::writeAll(std::string_view bytes, int s32PatienceMs) const {
    while (exists() && !bytes.empty()) {
        const std::size_t length = write(bytes);
        bytes.remove_prefix(length);
        pollfd stEnd = {_s32Near, POLLOUT, 0};
        if (length == 0 && poll(&stEnd, 1, s32PatienceMs) <= 0) {
            forgetUnreadFar();
        }
    }
}

void PseudoTerminal::forgetUnreadNear() const {
    tcflush(_s32Near, TCIFLUSH);
}

void PseudoTerminal::forgetUnreadFar() const {
    const int s32Far = _s32Far >= 0 ? _s32Far : open(_strPath.c_str(), kFlags);
    tcflush(s32Far, TCIFLUSH);
    if (s32Far >= 0 && s32Far != _s32Far) {
        ::close(s32Far);
    }
}

}  // namespace vset
