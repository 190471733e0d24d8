// SPDX-License-Identifier: Apache-2.0
// Reads files of faults, and finds everything in them that cannot work.
#include "fault_file.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "hw3/hw_types.h"
#include "words.h"

namespace tool {

namespace {

constexpr std::size_t kMostFaults = 1000;
constexpr long long kU32Max = 0xFFFFFFFFll;

struct Code {
    const char* name;
    long long result;
};

constexpr Code kCodes[] = {
    {"failed", HW_ERR_FAILED},
    {"not-inited", HW_ERR_NOT_INITED},
    {"not-support", HW_ERR_NOT_SUPPORT},
    {"not-implement", HW_ERR_NOT_IMPLEMENT},
    {"invalid-handle", HW_ERR_INVALID_HANDLE},
    {"invalid-parameter", HW_ERR_INVALID_PARAMETER},
    {"resources", HW_ERR_RESOURCES},
    {"memory-allocate", HW_ERR_MEMORY_ALLOCATE},
    {"chaos", HW_ERR_CHAOS},
    {"data-error", HW_ERR_DATA_ERROR},
    {"timeout", HW_ERR_TIMEOUT},
    {"limition", HW_ERR_LIMITION},
    {"busy", HW_ERR_BUSY},
};

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

// The one with the quote or the escape that splitWords() refuses.
std::size_t brokenWord(std::string_view line, const std::vector<std::size_t>& starts) {
    for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
        try {
            static_cast<void>(splitWords(line.substr(starts[i], starts[i + 1] - starts[i])));
        } catch (const UsageError&) {
            return i;
        }
    }
    return starts.size() - 1;
}

// A problem with the word at this place; behind the last one: with the end of the line.
struct WordError {
    std::size_t word;
    std::string text;
};

class FaultLine {
public:
    explicit FaultLine(const Words& words) : _words(words) {
        readCall();
        readCode();
        for (_next = 2; _next < _words.size();) {
            readOption();
        }
    }

    const PlanFault& fault() const { return _fault; }
    std::size_t stepWord() const { return _stepWord; }

private:
    void readCall() {
        _fault.fault.strCall = _words[0];
        if (_words[0] == vset::kAllocation) {
            return;
        }
        try {
            // The set knows its functions.
            vset::inject(_fault.fault);
            vset::clearFaults();
        } catch (const vset::SetError& error) {
            throw WordError{0, "no such middleware function: " + display(_words[0], 60) + ", nor is it allocation"};
        }
    }

    void readCode() {
        if (_words.size() < 2) {
            throw WordError{1, "expected what the call answers: a number, or a word like failed or timeout"};
        }
        const std::string& word = _words[1];
        const auto* code =
            std::find_if(std::begin(kCodes), std::end(kCodes), [&](const Code& row) { return word == row.name; });
        if (code != std::end(kCodes)) {
            _fault.fault.s64Result = code->result;
        } else if (!parseNumber(word, _fault.fault.s64Result) || _fault.fault.s64Result < -0x80000000ll ||
                   _fault.fault.s64Result > kU32Max) {
            throw WordError{1, unknownCode(word)};
        }
    }

    static std::string unknownCode(const std::string& word) {
        std::vector<std::string> names;
        for (const Code& code : kCodes) {
            names.emplace_back(code.name);
        }
        const std::string near = nearest(word, names);
        return display(word, 40) + " is no code, " +
               (near.empty() ? "expected a number, or a word like failed or timeout" : "did you mean " + near + "?");
    }

    void readOption() {
        const std::string& word = _words[_next];
        if (word == "from") {
            once(_hasFrom, "from");
            _fault.fault.u32From = readCount("a call, counted from 1");
        } else if (word == "times") {
            once(_hasTimes, "how often");
            _fault.fault.u32Times = readCount("how many calls fail");
        } else if (word == "always") {
            once(_hasTimes, "how often");
            _fault.fault.u32Times = 0;
            ++_next;
        } else if (word == "in") {
            once(_hasStep, "in");
            readStep();
        } else {
            throw WordError{_next, display(word, 40) + ": expected from N, times N, always or in STEP"};
        }
    }

    void once(bool& has, const char* what) const {
        if (has) {
            throw WordError{_next, std::string(what) + " has been said already"};
        }
        has = true;
    }

    unsigned int readCount(const char* what) {
        const std::string word = _next + 1 < _words.size() ? _words[_next + 1] : "";
        long long number = 0;
        if (!parseNumber(word, number) || number < 1 || number > kU32Max) {
            throw WordError{_next + 1, _words[_next] + " is " + display(word, 40) + ", expected " + what};
        }
        _next += 2;
        return static_cast<unsigned int>(number);
    }

    void readStep() {
        if (_next + 1 >= _words.size() || _words[_next + 1].empty()) {
            throw WordError{_next + 1, "expected the name of a step"};
        }
        _stepWord = _next + 1;
        _fault.step = _words[_stepWord];
        _next += 2;
    }

    const Words& _words;
    PlanFault _fault;
    std::size_t _next = 0;
    std::size_t _stepWord = 0;
    bool _hasFrom = false, _hasTimes = false, _hasStep = false;
};

class FaultParser {
public:
    FaultParser(std::string_view text, std::vector<FaultProblem>& problems) : _problems(problems) {
        for (const std::string_view line : splitLines(text)) {
            ++_line;
            parseLine(line);
        }
    }

    std::vector<PlanFault> take() { return std::move(_faults); }

private:
    void parseLine(std::string_view text) {
        const std::vector<std::size_t> starts = wordStarts(text);
        const auto columnOf = [&](std::size_t word) { return (word < starts.size() ? starts[word] : text.size()) + 1; };
        try {
            const Words words = splitWords(text);
            if (words.empty()) {
                return;
            }
            const FaultLine line(words);
            add(line.fault(), columnOf(line.stepWord()));
        } catch (const WordError& error) {
            _problems.push_back({_line, columnOf(error.word), error.text});
        } catch (const UsageError& error) {
            _problems.push_back({_line, columnOf(brokenWord(text, starts)), error.what()});
        }
    }

    void add(PlanFault fault, std::size_t stepColumn) {
        if (_faults.size() == kMostFaults) {
            throw WordError{0, "there are more than " + std::to_string(kMostFaults) + " faults"};
        }
        fault.line = _line;
        fault.stepColumn = stepColumn;
        _faults.push_back(std::move(fault));
    }

    std::vector<FaultProblem>& _problems;
    std::vector<PlanFault> _faults;
    unsigned int _line = 0;
};

}  // namespace

std::string PlanFault::text() const {
    char code[32];
    std::snprintf(code, sizeof(code), fault.s64Result < 0 ? "-0x%llX" : "0x%llX",
                  static_cast<unsigned long long>(fault.s64Result < 0 ? -fault.s64Result : fault.s64Result));
    std::string text = quoteWord(fault.strCall) + " " + code;
    if (fault.u32From != 1) {
        text += " from " + std::to_string(fault.u32From);
    }
    if (fault.u32Times != 1) {
        text += fault.u32Times == 0 ? " always" : " times " + std::to_string(fault.u32Times);
    }
    return step.empty() ? text : text + " in " + quoteWord(step);
}

std::vector<PlanFault> parseFaults(std::string_view text, std::vector<FaultProblem>& problems) {
    return FaultParser(text, problems).take();
}

}  // namespace tool
