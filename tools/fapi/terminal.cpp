// SPDX-License-Identifier: Apache-2.0
// Lines that are rewritten while something goes on.
#include "terminal.h"

#include <algorithm>

#include <sys/ioctl.h>
#include <unistd.h>

#include "session.h"

namespace tool {

namespace {

winsize terminalSize() {
    winsize size = {};
    ioctl(fileno(dataOutput()), TIOCGWINSZ, &size);
    return size;
}

}  // namespace

bool isTerminal() {
    return isatty(fileno(dataOutput())) != 0;
}

std::size_t terminalColumns() {
    const std::size_t columns = terminalSize().ws_col;
    return columns > kNarrow ? columns : 80;
}

std::size_t terminalRows() {
    const std::size_t rows = terminalSize().ws_row;
    return rows != 0 ? rows : 24;
}

void eraseLine() {
    std::fputs("\r\033[K", dataOutput());
}

std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return text;
}

}  // namespace tool
