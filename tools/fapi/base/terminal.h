// SPDX-License-Identifier: Apache-2.0
// What dataOutput() can do when it is a terminal, and what may be written there.
#ifndef FAPI_BENCH_BASE_TERMINAL_H
#define FAPI_BENCH_BASE_TERMINAL_H

#include <cstdio>
#include <string>
#include <string_view>

namespace tool {

// Whether lines can be rewritten: not on a pipe, and not where TERM is "dumb".
bool isTerminal();

// 80 when the terminal does not tell.
std::size_t terminalColumns(FILE* terminal = nullptr);
// 24 when it does not tell.
std::size_t terminalRows();

void eraseLine();

// --- Colors ----------------------------------------------------------------------------------------------------------

enum class ColorUse {
    automatic,  // on a terminal, unless NO_COLOR holds anything
    always,
    never
};
// What --color says; automatic before.
void useColors(ColorUse use);
// The one answer for all that is printed.
bool usesColors();

constexpr char kGreen[] = "\033[32m";
constexpr char kRed[] = "\033[31m";
constexpr char kYellow[] = "\033[33m";
constexpr char kColorsOff[] = "\033[0m";

// --- Texts -----------------------------------------------------------------------------------------------------------

// With '?' in place of the characters that would do something to the terminal, but for those of `kept`.
std::string printable(std::string_view text, std::string_view kept = "");

// "fapi: ..." on standard error, which is a terminal more often than not.
void printMessage(std::string_view message);

}  // namespace tool

#endif
