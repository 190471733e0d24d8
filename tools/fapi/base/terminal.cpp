// SPDX-License-Identifier: Apache-2.0
// What dataOutput() can do when it is a terminal.
#include "base/terminal.h"

#include <cstdlib>

#include <sys/ioctl.h>
#include <unistd.h>

#include "base/data_output.h"
#include "protocol/characters.h"

namespace tool {

namespace {

ColorUse g_colorUse = ColorUse::automatic;

winsize sizeOf(FILE* terminal) {
    winsize size = {};
    ioctl(fileno(terminal), TIOCGWINSZ, &size);
    return size;
}

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

}  // namespace

bool isTerminal() {
    return isatty(fileno(dataOutput())) != 0 && environment("TERM") != "dumb";
}

std::size_t terminalColumns(FILE* terminal) {
    const std::size_t columns = sizeOf(terminal != nullptr ? terminal : dataOutput()).ws_col;
    return columns != 0 ? columns : 80;
}

std::size_t terminalRows() {
    const std::size_t rows = sizeOf(dataOutput()).ws_row;
    return rows != 0 ? rows : 24;
}

void eraseLine() {
    std::fputs("\r\033[K", dataOutput());
}

void useColors(ColorUse use) {
    g_colorUse = use;
}

bool usesColors() {
    return g_colorUse == ColorUse::automatic ? isTerminal() && environment("NO_COLOR").empty()
                                             : g_colorUse == ColorUse::always;
}

std::string printable(std::string_view text, std::string_view kept) {
    std::string shown;
    while (!text.empty()) {
        const Character character = takeCharacter(text);
        const bool isKept = character.bytes.size() == 1 && kept.find(character.bytes) != std::string_view::npos;
        shown += character.isObeyed() && !isKept ? std::string_view("?") : character.bytes;
    }
    return shown;
}

void printMessage(std::string_view message) {
    std::fprintf(stderr, "fapi: %s\n", printable(message, "\n").c_str());
}

}  // namespace tool
