// SPDX-License-Identifier: Apache-2.0
// A question on this program's terminal.
#include "operator/terminal_question.h"

#include <array>
#include <cstdio>
#include <cstdlib>

#include <termios.h>
#include <unistd.h>

#include "base/terminal.h"
#include "base/terminal_picture.h"
#include "protocol/characters.h"

namespace tool {

namespace {

constexpr char kBell[] = "\a";
constexpr char kMargin[] = "  ";
// The lines that a question takes besides its picture.
constexpr std::size_t kQuestionRows = 12;

// Black on a bright color: readable from some meters, and with every scheme of colors.
struct PromptLook {
    const char* word;
    const char* color;
};
PromptLook lookOf(const Question& question) {
    switch (question.kind) {
        case PromptKind::ask:
            return {"YES OR NO?", "\033[1;30;103m"};
        case PromptKind::choose:
            return {"WHICH ONE?", "\033[1;30;103m"};
        case PromptKind::scan:
            return {"PLEASE SCAN", "\033[1;30;106m"};
        default:
            return {question.needsAnswer ? "PLEASE DO" : "PLEASE LOOK", "\033[1;30;106m"};
    }
}

// A line of the terminal's whole width.
std::string barOf(const std::string& text, const char* color, std::size_t columns) {
    const std::string shown = cutToColumns(kMargin + text, columns);
    return std::string(color) + shown + std::string(columns - std::min(columns, columnsOf(shown)), ' ') + kColorsOff +
           "\n";
}

// The words in lines of at most so many columns.
std::vector<std::string> wrapped(const std::string& text, std::size_t columns) {
    std::vector<std::string> lines(1);
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find_first_of(" \n", start), text.size());
        const std::string word = text.substr(start, end - start);
        if (!lines.back().empty() && columnsOf(lines.back()) + 1 + columnsOf(word) > columns) {
            lines.emplace_back();
        }
        lines.back() += (lines.back().empty() ? "" : " ") + word;
        if (end < text.size() && text[end] == '\n') {
            lines.emplace_back();
        }
        start = end + 1;
    }
    return lines;
}

// What is to be typed.
std::string hintOf(const Question& question) {
    switch (question.kind) {
        case PromptKind::ask:
            return "[y/n] ";
        case PromptKind::choose:
            return "[1-" + std::to_string(question.choices.size()) + "] ";
        case PromptKind::scan:
            return "> ";
        default:
            return question.needsAnswer ? "[Enter] " : "";
    }
}

}  // namespace

bool TerminalQuestion::isThere() {
    return isatty(STDIN_FILENO) != 0;
}

std::string TerminalQuestion::place() {
    std::array<char, 256> name = {};
    return ttyname_r(STDIN_FILENO, name.data(), name.size()) == 0 ? std::string("terminal ") + name.data() : "terminal";
}

TerminalQuestion::TerminalQuestion(const Question& question, const std::string& source,
                                   const std::optional<Picture>& picture)
    : _question(question) {
    if (question.needsAnswer) {
        tcflush(STDIN_FILENO, TCIFLUSH);
    }
    const PromptLook look = lookOf(question);
    const std::string heading = source.empty() ? look.word : source + ": " + look.word;
    const std::string text = printable(question.text, "\n");
    const std::size_t columns = terminalColumns(stderr);
    std::string shown = "\r\033[K" + std::string(kBell);
    if (picture && usesColors()) {
        shown += terminalPicture(*picture, kQuestionRows);
    }
    if (usesColors()) {
        shown += "\n" + barOf("", look.color, columns) + barOf(heading, look.color, columns) +
                 barOf("", look.color, columns);
        for (const std::string& line : wrapped(text, columns - std::min<std::size_t>(columns - 1, 4))) {
            shown += barOf(line, look.color, columns);
        }
        shown += barOf("", look.color, columns);
    } else {
        shown += "\n" + heading + "\n" + text + (question.choices.empty() ? " " : "\n");
    }
    for (std::size_t i = 0; i < question.choices.size(); ++i) {
        shown += kMargin + std::to_string(i + 1) + "  " + printable(question.choices[i]) + "\n";
    }
    shown += hintOf(question);
    std::fputs(shown.c_str(), stderr);
}

int TerminalQuestion::descriptor() const {
    return _isGone || !_question.needsAnswer ? -1 : STDIN_FILENO;
}

std::optional<std::string> TerminalQuestion::read() {
    std::array<char, 4096> piece = {};
    const ssize_t length = ::read(STDIN_FILENO, piece.data(), piece.size());
    if (length <= 0) {
        _isGone = true;
        return std::nullopt;
    }
    _typed.append(piece.data(), static_cast<std::size_t>(length));
    const std::size_t end = _typed.find('\n');
    if (end == std::string::npos) {
        return std::nullopt;
    }
    std::string line = _typed.substr(0, end);
    _typed.clear();
    return line;
}

void TerminalQuestion::remind() const {
    std::fprintf(stderr, "\n%s %s", printable(_question.text, "\n").c_str(), hintOf(_question).c_str());
}

void TerminalQuestion::refuse(const std::string& why) const {
    const std::string text = usesColors() ? kRed + printable(why) + kColorsOff : printable(why);
    std::fprintf(stderr, "%s%s; once more, please: %s", kBell, text.c_str(), hintOf(_question).c_str());
}

void TerminalQuestion::tell(const std::string& what) const {
    std::fprintf(stderr, "\n%s\n", printable(what).c_str());
}

}  // namespace tool
