// SPDX-License-Identifier: Apache-2.0
// Lines that are rewritten while something goes on, when dataOutput() is a terminal.
#ifndef FAPI_TOOL_TERMINAL_H
#define FAPI_TOOL_TERMINAL_H

#include <string>

namespace tool {

bool isTerminal();

// A terminal that is not wider, or does not tell, counts as one of 80 columns.
constexpr std::size_t kNarrow = 40;
std::size_t terminalColumns();
// 24 when it does not tell.
std::size_t terminalRows();

void eraseLine();

// Without the characters that would do something to the terminal.
std::string printable(std::string text);

}  // namespace tool

#endif
