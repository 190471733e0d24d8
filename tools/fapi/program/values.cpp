// SPDX-License-Identifier: Apache-2.0
// What a program of a plan says on descriptor 3.
#include "program/values.h"

#include <algorithm>

#include "base/words.h"
#include "protocol/characters.h"

namespace tool {

namespace {

constexpr std::size_t kMostLines = 1000;
constexpr std::size_t kLongestLine = 4096;

}  // namespace

void ProgramValues::take(std::string_view piece) {
    while (_problem.empty() && !piece.empty()) {
        const std::size_t end = std::min(piece.find('\n'), piece.size());
        _open.append(piece.substr(0, end));
        if (_open.size() > kLongestLine) {
            require(false, _open, "longer than 4096 bytes");
        } else if (end < piece.size()) {
            takeLine(std::exchange(_open, ""));
        }
        piece.remove_prefix(std::min(end + 1, piece.size()));
    }
}

void ProgramValues::finish() {
    if (_problem.empty() && !_open.empty()) {
        takeLine(std::exchange(_open, ""));
    }
}

void ProgramValues::require(bool good, std::string_view line, const char* why) {
    if (!good && _problem.empty()) {
        _problem = display(std::string(line), 80) + " on descriptor 3: " + why;
    }
}

void ProgramValues::takeLine(std::string_view line) {
    require(isUtf8(line), line, "no text in UTF-8");
    require(++_lines <= kMostLines, line, "more than 1000 lines");
    Words words;
    try {
        words = splitWords(line);
    } catch (const UsageError&) {
        require(false, line, "a quote is not closed");
    }
    if (!_problem.empty() || words.empty()) {
        return;
    }
    if (words[0] == "measure" && (words.size() == 3 || words.size() == 4)) {
        const auto isIt = [&](const ProgramValue& value) { return value.name == words[1]; };
        require(!words[1].empty() && std::none_of(_values.begin(), _values.end(), isIt), line,
                "expected a name that no other value has");
        _values.push_back({words[1], words[2], words.size() == 4 ? words[3] : ""});
    } else if (words[0] == "attach" && words.size() == 2) {
        _files.push_back(words[1]);
    } else if (words[0] == "note" && words.size() > 1) {
        const std::size_t text = line.find_first_not_of(" \t", line.find("note") + 4);
        _notes.push_back(words.size() == 2 ? words[1] : std::string(line.substr(text)));
    } else {
        require(false, line, "expected measure NAME VALUE [UNIT], attach PATH or note TEXT");
    }
}

}  // namespace tool
