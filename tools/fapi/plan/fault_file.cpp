// SPDX-License-Identifier: Apache-2.0
// Reads files of faults, and finds everything in them that cannot work.
#include "plan/fault_file.h"

#include <algorithm>
#include <cstdio>

#include "base/words.h"
#include "target/target_description.h"

namespace tool {

namespace {

constexpr std::size_t kMostFaults = 1000;
constexpr long long kU32Max = 0xFFFFFFFFll;

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
        _fault.call = _words[0];
        const std::string unknown = unknownFunction(_words[0]);
        if (!unknown.empty()) {
            throw UsageError(unknown, 0);
        }
    }

    void readCode() {
        if (_words.size() < 2) {
            throw UsageError("expected what the call answers: a number, or a word like failed or timeout", 1);
        }
        const std::string& word = _words[1];
        const std::vector<Choice>& codes = description().codes;
        const auto code = std::find_if(codes.begin(), codes.end(), [&](const Choice& row) { return word == row.name; });
        if (code != codes.end()) {
            if (const std::string problem = namedCodeProblem(_words[0], word); !problem.empty()) {
                throw UsageError(problem, 1);
            }
            _fault.result = code->value;
        } else if (!parseNumber(word, _fault.result) || _fault.result < -0x80000000ll || _fault.result > kU32Max) {
            throw UsageError(unknownCode(word), 1);
        }
    }

    static std::string unknownCode(const std::string& word) {
        std::vector<std::string> names;
        for (const Choice& code : description().codes) {
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
            _fault.from = readCount("a call, counted from 1");
        } else if (word == "times") {
            once(_hasTimes, "how often");
            _fault.times = readCount("how many calls fail");
        } else if (word == "always") {
            once(_hasTimes, "how often");
            _fault.times = 0;
            ++_next;
        } else if (word == "in") {
            once(_hasStep, "in");
            readStep();
        } else {
            throw UsageError(display(word, 40) + ": expected from N, times N, always or in STEP", _next);
        }
    }

    void once(bool& has, const char* what) const {
        if (has) {
            throw UsageError(std::string(what) + " has been said already", _next);
        }
        has = true;
    }

    unsigned int readCount(const char* what) {
        const std::string word = _next + 1 < _words.size() ? _words[_next + 1] : "";
        long long number = 0;
        if (!parseNumber(word, number) || number < 1 || number > kU32Max) {
            throw UsageError(_words[_next] + " is " + display(word, 40) + ", expected " + what, _next + 1);
        }
        _next += 2;
        return static_cast<unsigned int>(number);
    }

    void readStep() {
        if (_next + 1 >= _words.size() || _words[_next + 1].empty()) {
            throw UsageError("expected the name of a step", _next + 1);
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
    FaultParser(std::string_view text, std::vector<Problem>& problems) : _problems(problems) {
        for (const std::string_view line : splitLines(text)) {
            ++_line;
            parseLine(line);
        }
    }

    std::vector<PlanFault> take() { return std::move(_faults); }

private:
    void parseLine(std::string_view text) {
        try {
            const Words words = splitWords(text);
            if (words.empty()) {
                return;
            }
            const FaultLine line(words);
            add(line.fault(), columnOf(text, line.stepWord()));
        } catch (const UsageError& error) {
            _problems.push_back({_line, columnOf(text, error), error.what()});
        }
    }

    void add(PlanFault fault, std::size_t stepColumn) {
        if (_faults.size() == kMostFaults) {
            throw UsageError("there are more than " + std::to_string(kMostFaults) + " faults", 0);
        }
        fault.line = _line;
        fault.stepColumn = stepColumn;
        _faults.push_back(std::move(fault));
    }

    std::vector<Problem>& _problems;
    std::vector<PlanFault> _faults;
    unsigned int _line = 0;
};

}  // namespace

std::string PlanFault::text() const {
    char code[32];
    std::snprintf(code, sizeof(code), result < 0 ? "-0x%llX" : "0x%llX",
                  static_cast<unsigned long long>(result < 0 ? -result : result));
    std::string text = quoteWord(call) + " " + code;
    if (from != 1) {
        text += " from " + std::to_string(from);
    }
    if (times != 1) {
        text += times == 0 ? " always" : " times " + std::to_string(times);
    }
    return step.empty() ? text : text + " in " + quoteWord(step);
}

std::vector<PlanFault> parseFaults(std::string_view text, std::vector<Problem>& problems) {
    return FaultParser(text, problems).take();
}

}  // namespace tool
