// SPDX-License-Identifier: Apache-2.0
// Files of sections and entries: "[target bench]", "wire = adb shell -T fapi-agent".
#ifndef FAPI_BENCH_BASE_INI_H
#define FAPI_BENCH_BASE_INI_H

#include <string>
#include <string_view>
#include <vector>

#include "base/words.h"

namespace tool {

struct IniEntry {
    unsigned int line = 0;
    std::string key;
    Words words;             // of its value
    std::size_t column = 1;  // of the value
    std::string_view text;   // the value, as it is written
};

struct IniSection {
    unsigned int line = 0;
    std::string kind;  // "target"
    std::string name;  // "bench"; empty: it has none
    std::vector<IniEntry> entries;
};

// Reads the text, which must stay as long as what is returned. A value is cut into words as a line of a plan is; lines
// that begin with # or ; are comments.
std::vector<IniSection> parseIni(std::string_view text, std::vector<Problem>& problems);

}  // namespace tool

#endif
