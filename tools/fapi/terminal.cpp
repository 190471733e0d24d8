// SPDX-License-Identifier: Apache-2.0
// Lines that are rewritten while something goes on.
#include "terminal.h"

#include <algorithm>

#include <sys/ioctl.h>
#include <unistd.h>

#include "session.h"

namespace tool {

bool isTerminal() {
    return isatty(fileno(dataOutput())) != 0;
}

std::size_t terminalColumns() {
    winsize size = {};
    return ioctl(fileno(dataOutput()), TIOCGWINSZ, &size) == 0 && size.ws_col > kNarrow ? size.ws_col : 80;
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
