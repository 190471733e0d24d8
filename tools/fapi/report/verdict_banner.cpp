// SPDX-License-Identifier: Apache-2.0
// The verdict of a run, to be read from afar.
#include "report/verdict_banner.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "base/terminal.h"
#include "target/output.h"

namespace tool {

namespace {

constexpr std::size_t kLines = 5;
constexpr std::size_t kPixels = 5;     // of a letter's line
constexpr std::size_t kLetterGap = 1;  // pixels between letters
// A pixel is about as wide as it is high.
constexpr std::size_t kPixelColumns = 2;
constexpr char kReversed[] = "\033[1;7m";

struct Letter {
    char letter;
    std::array<const char*, kLines> lines;
};

constexpr Letter kLetters[] = {
    {'A', {" ### ", "#   #", "#####", "#   #", "#   #"}}, {'D', {"#### ", "#   #", "#   #", "#   #", "#### "}},
    {'E', {"#####", "#    ", "#### ", "#    ", "#####"}}, {'F', {"#####", "#    ", "#### ", "#    ", "#    "}},
    {'G', {" ####", "#    ", "#  ##", "#   #", " ####"}}, {'I', {"#####", "  #  ", "  #  ", "  #  ", "#####"}},
    {'L', {"#    ", "#    ", "#    ", "#    ", "#####"}}, {'M', {"#   #", "## ##", "# # #", "#   #", "#   #"}},
    {'N', {"#   #", "##  #", "# # #", "#  ##", "#   #"}}, {'O', {" ### ", "#   #", "#   #", "#   #", " ### "}},
    {'P', {"#### ", "#   #", "#### ", "#    ", "#    "}}, {'R', {"#### ", "#   #", "#### ", "#  # ", "#   #"}},
    {'S', {" ####", "#    ", " ### ", "    #", "#### "}}, {'T', {"#####", "  #  ", "  #  ", "  #  ", "  #  "}},
    {'V', {"#   #", "#   #", "#   #", " # # ", "  #  "}}, {'W', {"#   #", "#   #", "# # #", "## ##", "#   #"}},
    {'U', {"#   #", "#   #", "#   #", "#   #", " ### "}},
};

const char* lineOf(char letter, std::size_t line) {
    const auto* found = std::find_if(std::begin(kLetters), std::end(kLetters),
                                     [&](const Letter& candidate) { return candidate.letter == letter; });
    return found != std::end(kLetters) ? found->lines[line] : "     ";
}

std::string inTheMiddle(const std::string& word, std::size_t columns) {
    const std::size_t left = (columns - std::min(columns, word.size())) / 2;
    const std::size_t right = columns - std::min(columns, left + word.size());
    return std::string(left, ' ') + word + std::string(right, ' ');
}

}  // namespace

const char* colorOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::passed:
            return kGreen;
        case Verdict::failed:
        case Verdict::error:
        case Verdict::died:
            return kRed;
        default:
            return kYellow;
    }
}

std::string largeLetters(const std::string& word, std::size_t columns) {
    if (word.size() * (kPixels + kLetterGap) * kPixelColumns > columns) {
        return "";
    }
    std::string text;
    for (std::size_t line = 0; line < kLines; ++line) {
        for (const char letter : word) {
            for (const char* pixel = lineOf(letter, line); *pixel != '\0'; ++pixel) {
                text += *pixel == '#' ? "██" : "  ";
            }
            text.append(kLetterGap * kPixelColumns, ' ');
        }
        text += '\n';
    }
    return text;
}

static void printWord(const std::string& word, const char* wordColor) {
    if (!usesColors()) {
        printLine(word);
        return;
    }
    const std::size_t columns = isTerminal() ? terminalColumns() : word.size();
    const std::string color = wordColor;
    const std::string large = largeLetters(word, columns);
    printLine((large.empty() ? "" : "\n" + color + large + kColorsOff + "\n") + color + kReversed +
              inTheMiddle(word, columns) + kColorsOff);
}

void printVerdict(Verdict verdict) {
    printWord(verdictWord(verdict), colorOf(verdict));
}

void printWaived() {
    printWord("WAIVED", kYellow);
}

}  // namespace tool
