// SPDX-License-Identifier: Apache-2.0
// Lines cut into words.
#include "base/words.h"

#include <algorithm>

#include "protocol/color.h"

namespace tool {

namespace {

// From how many letters on a part of a name is more than chance.
constexpr std::size_t kPartLength = 5;

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

// The character that the escape at line[i] (behind the backslash) stands for; leaves i on its last character.
char unescape(std::string_view line, std::size_t& i) {
    const char c = i < line.size() ? line[i] : '\0';
    switch (c) {
        case 'n':
            return '\n';
        case 't':
            return '\t';
        case 'r':
            return '\r';
        case '\\':
        case '"':
            return c;
        case 'x': {
            long long number = 0;
            if (i + 2 < line.size() && parseNumber("0x" + std::string(line.substr(i + 1, 2)), number)) {
                i += 2;
                return static_cast<char>(number);
            }
            throw UsageError("\\x needs two hexadecimal digits");
        }
        default:
            throw UsageError(std::string("unknown escape \\") + (c != '\0' ? std::string(1, c) : "at the end"));
    }
}

// Appends what is quoted from line[i] (the opening quote) on; returns the place behind the closing one.
std::size_t readQuoted(std::string_view line, std::size_t i, std::string& word) {
    const char quote = line[i];
    for (++i; i < line.size() && line[i] != quote; ++i) {
        if (line[i] == '\\' && quote == '"') {
            ++i;
            word += unescape(line, i);
        } else {
            word += line[i];
        }
    }
    if (i >= line.size()) {
        throw UsageError(std::string("the quote ") + quote + " is not closed");
    }
    return i + 1;
}

// How many letters are wrong, missing, too many or swapped with their neighbour.
std::size_t typingErrors(std::string_view typed, std::string_view meant) {
    // errors[i][j]: between the first i letters and the first j.
    std::vector<std::vector<std::size_t>> errors(typed.size() + 1, std::vector<std::size_t>(meant.size() + 1));
    for (std::size_t i = 0; i <= typed.size(); ++i) {
        for (std::size_t j = 0; j <= meant.size(); ++j) {
            if (i == 0 || j == 0) {
                errors[i][j] = i + j;
                continue;
            }
            const std::size_t replaced = errors[i - 1][j - 1] + (typed[i - 1] == meant[j - 1] ? 0 : 1);
            errors[i][j] = std::min({replaced, errors[i - 1][j] + 1, errors[i][j - 1] + 1});
            if (i > 1 && j > 1 && typed[i - 1] == meant[j - 2] && typed[i - 2] == meant[j - 1]) {
                errors[i][j] = std::min(errors[i][j], errors[i - 2][j - 2] + 1);
            }
        }
    }
    return errors.back().back();
}

// Where the words of a line begin, also when a quote is not closed: splitWords() does not tell.
std::vector<std::size_t> wordStarts(std::string_view line) {
    std::vector<std::size_t> starts;
    char quote = '\0';
    bool inWord = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quote != '\0') {
            i += c == '\\' && quote == '"' ? 1 : 0;
            quote = c == quote ? '\0' : quote;
            continue;
        }
        const bool isBlank = c == ' ' || c == '\t' || c == '\r';
        if (!isBlank && !inWord) {
            starts.push_back(i);
        }
        inWord = !isBlank;
        quote = c == '"' || c == '\'' ? c : '\0';
    }
    return starts;
}

bool isBroken(std::string_view text) {
    try {
        static_cast<void>(splitWords(text));
        return false;
    } catch (const UsageError&) {
        return true;
    }
}

// The word with the quote or the escape that splitWords() refuses; the first one when there is none.
std::size_t brokenWord(std::string_view line, const std::vector<std::size_t>& starts) {
    if (!isBroken(line)) {
        return 0;
    }
    for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
        if (isBroken(line.substr(starts[i], starts[i + 1] - starts[i]))) {
            return i;
        }
    }
    return starts.size() - 1;
}

}  // namespace

Words splitWords(std::string_view line) {
    Words words;
    std::size_t i = 0;
    for (;;) {
        while (i < line.size() && isBlank(line[i])) {
            ++i;
        }
        // A line begins with no color.
        const bool isColor = !words.empty() && beginsWithColor(line.substr(i));
        if (i == line.size() || (line[i] == '#' && !isColor)) {
            return words;
        }
        std::string word;
        while (i < line.size() && !isBlank(line[i])) {
            if (line[i] == '"' || line[i] == '\'') {
                i = readQuoted(line, i, word);
            } else {
                word += line[i++];
            }
        }
        words.push_back(std::move(word));
    }
}

std::vector<std::string_view> splitLines(std::string_view text) {
    // Some editors put it at the beginning of a file.
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        text.remove_prefix(kByteOrderMark.size());
    }
    std::vector<std::string_view> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

std::size_t columnOf(std::string_view line, std::size_t word) {
    const std::vector<std::size_t> starts = wordStarts(line);
    return (word < starts.size() ? starts[word] : line.size()) + 1;
}

std::size_t columnOf(std::string_view line, const UsageError& error) {
    return columnOf(line, error.word() ? *error.word() : brokenWord(line, wordStarts(line)));
}

std::string quoteWord(std::string_view word) {
    // An escape in it is one of those that readQuoted() knows.
    const std::string quoted = escaped(word, false);
    const bool isPlain = !word.empty() && word.front() != '#' && word.find_first_of(" '") == std::string_view::npos &&
                         quoted.size() == word.size();
    return isPlain ? quoted : '"' + quoted + '"';
}

std::string nearest(std::string_view word, const std::vector<std::string>& candidates) {
    std::string best;
    // More than a third of the letters wrong is another word.
    std::size_t bestDistance = word.size() / 3 + 1;
    for (const std::string& candidate : candidates) {
        // "check_file" for "sys_check_file" is no typing error, but near all the same.
        const bool isPart = word.size() >= kPartLength && candidate.find(word) != std::string::npos;
        const std::size_t longer = std::max(word.size(), candidate.size()) - std::min(word.size(), candidate.size());
        if (!isPart && longer >= bestDistance) {
            continue;
        }
        const std::size_t distance = isPart ? 1 : typingErrors(word, candidate);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = candidate;
        }
    }
    return best;
}

}  // namespace tool
