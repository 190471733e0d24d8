// SPDX-License-Identifier: Apache-2.0
// Lists of files with their SHA-256.
#include "actions/sums.h"

#include "protocol/number_list.h"
#include "vset/vset.h"

namespace tool {

namespace {

constexpr std::size_t kSumDigits = 64;
// Between sum and path.
constexpr std::string_view kSumGap = "  ";

// A path with a new line or a backslash is escaped, and a backslash before the sum tells so.
std::string escapePath(const std::string& path) {
    std::string escaped;
    for (const char c : path) {
        escaped += c == '\n' ? "\\n" : c == '\\' ? "\\\\" : std::string(1, c);
    }
    return escaped;
}

std::string unescapePath(std::string_view path) {
    std::string plain;
    for (std::size_t i = 0; i < path.size(); ++i) {
        const bool escaped = path[i] == '\\' && i + 1 < path.size();
        i += escaped ? 1 : 0;
        plain += escaped && path[i] == 'n' ? '\n' : path[i];
    }
    return plain;
}

}  // namespace

std::string sumsText(const Sums& sums) {
    std::string text;
    for (const auto& [path, sum] : sums) {
        const std::string escaped = escapePath(path);
        text.append(escaped == path ? "" : "\\").append(sum).append(kSumGap).append(escaped).append("\n");
    }
    return text;
}

Sums parseSums(std::string_view text) {
    Sums sums;
    for (const std::string& whole : cutAt(std::string(text), '\n')) {
        std::string_view line = whole;
        if (line.empty()) {
            continue;
        }
        const bool escaped = line[0] == '\\';
        line.remove_prefix(escaped ? 1 : 0);
        const std::string sum(line.substr(0, kSumDigits));
        const std::size_t start = kSumDigits + kSumGap.size();
        if (line.size() <= start || line.substr(kSumDigits, kSumGap.size()) != kSumGap ||
            sum.find_first_not_of("0123456789abcdef") != std::string::npos) {
            throw vset::SetError("the list of sums is none");
        }
        const std::string_view path = line.substr(start);
        sums[escaped ? unescapePath(path) : std::string(path)] = sum;
    }
    return sums;
}

}  // namespace tool
