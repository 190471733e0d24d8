// SPDX-License-Identifier: Apache-2.0
// Pictures of what the set shows, into a file and onto the terminal.
#ifndef FAPI_BENCH_WATCH_SCREEN_H
#define FAPI_BENCH_WATCH_SCREEN_H

#include "target/confirm.h"
#include "target/target_description.h"

namespace tool {

struct ScreenOptions {
    std::string file;  // empty: a preview alone
    std::string what = kPanel;
    bool preview = false;
    std::vector<std::string> lines;  // run first
};

// `fapi screen`.
int screen(const GlobalOptions& options, const ScreenOptions& screenOptions);

// The shell's line "screen [FILE [WHAT]]". Throws UsageError, and SetError.
void showScreen(const Words& words, bool json);

}  // namespace tool

#endif
