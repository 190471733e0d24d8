// SPDX-License-Identifier: Apache-2.0
// The library's log as lines.
#include "supervisor/log_lines.h"

#include <algorithm>
#include <utility>

namespace tool {

namespace {

// A line that is longer is cut.
constexpr std::size_t kLongestLine = 1u << 16;

}  // namespace

std::vector<std::string> LogLines::take(std::string_view bytes) {
    std::vector<std::string> lines;
    while (!bytes.empty()) {
        const std::size_t room = kLongestLine - _kept.size();
        const std::size_t newline = bytes.find('\n');
        const std::size_t end = std::min({newline, bytes.size(), room});
        _kept += bytes.substr(0, end);
        bytes.remove_prefix(std::min(end + (end == newline ? 1 : 0), bytes.size()));
        if ((end == newline || end == room) && !_kept.empty()) {
            lines.push_back(takeRest());
        }
    }
    return lines;
}

std::string LogLines::takeRest() {
    return std::exchange(_kept, {});
}

bool isError(std::string_view line) {
    return line.find("(imp) [E] <") != std::string_view::npos;
}

// "\033[43;31m" is gone.
std::string withoutColors(const std::string& line) {
    std::string result;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const bool isColor = line.compare(i, 2, "\033[") == 0;
        const std::size_t end = isColor ? line.find_first_not_of("0123456789;", i + 2) : std::string::npos;
        if (end != std::string::npos && line[end] == 'm') {
            i = end;
        } else {
            result += line[i];
        }
    }
    return result;
}

}  // namespace tool
