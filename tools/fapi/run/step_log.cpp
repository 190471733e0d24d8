// SPDX-License-Identifier: Apache-2.0
// The library's log while a plan runs.
#include "run/step_log.h"

#include "protocol/characters.h"

namespace tool {

namespace {

constexpr std::size_t kKept = 65536;
constexpr std::size_t kKeptLines = 400;

// "\033[43;31m" is gone.
std::string withoutColors(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isColor = text.compare(i, 2, "\033[") == 0;
        const std::size_t end = isColor ? text.find_first_not_of("0123456789;", i + 2) : std::string::npos;
        if (end != std::string::npos && text[end] == 'm') {
            i = end;
        } else {
            result += text[i];
        }
    }
    return result;
}

}  // namespace

void StepLog::add(const std::string& line, long long dropped) {
    if (dropped != 0) {
        add("... " + std::to_string(dropped) + " lines came too fast and are not kept", 0);
    }
    _lines.push_back(line + '\n');
    _bytes += _lines.back().size();
    while (_lines.size() > kKeptLines || _bytes > kKept) {
        _bytes -= _lines.front().size();
        _lines.pop_front();
        _isCut = true;
    }
}

void StepLog::clear() {
    *this = StepLog();
}

std::string StepLog::text() const {
    std::string text = _isCut ? "... what came before is not kept\n" : "";
    for (const std::string& line : _lines) {
        text += line;
    }
    return validText(withoutColors(text));
}

}  // namespace tool
