// SPDX-License-Identifier: Apache-2.0
// Reads plans, and finds everything in them that cannot work.
#include <algorithm>
#include <cmath>
#include <set>

#include "plan.h"

namespace tool {

namespace {

// Also keeps a retry from waiting for ever by a slip of the keyboard.
constexpr double kLongestWait = 24 * 3600;
constexpr long long kMostRetries = 100000;

bool parseTime(const std::string& word, std::chrono::milliseconds& time) {
    const std::size_t unit = word.find_first_not_of("0123456789.");
    if (unit == 0 || unit == std::string::npos || std::count(word.begin(), word.end(), '.') > 1 || unit > 12) {
        return false;
    }
    const double factor = word.substr(unit) == "s" ? 1 : word.substr(unit) == "ms" ? 0.001 : 0;
    const double seconds = std::strtod(word.c_str(), nullptr) * factor;
    if (factor == 0 || seconds > kLongestWait) {
        return false;
    }
    time = std::chrono::milliseconds(std::llround(seconds * 1000));
    return true;
}

// "100..200"
bool parseRange(const std::string& word, long long& low, long long& high) {
    const std::size_t dots = word.find("..");
    return dots != std::string::npos && parseNumber(word.substr(0, dots), low) &&
           parseNumber(word.substr(dots + 2), high) && low <= high;
}

// The names in the ${NAME} of a word.
std::vector<std::string> variablesOf(const std::string& word) {
    std::vector<std::string> names;
    for (std::size_t start = 0; (start = word.find("${", start)) != std::string::npos;) {
        const std::size_t end = word.find('}', start);
        if (end == std::string::npos) {
            break;
        }
        names.push_back(word.substr(start + 2, end - start - 2));
        start = end;
    }
    return names;
}

bool isName(const std::string& word) {
    return !word.empty() && word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") ==
                                std::string::npos;
}

class Parser {
public:
    Parser(const std::string& text, std::vector<Problem>& problems) : _problems(problems) {
        for (std::size_t start = 0; start <= text.size();) {
            const std::size_t end = std::min(text.find('\n', start), text.size());
            ++_line;
            parseLine(std::string_view(text).substr(start, end - start));
            start = end + 1;
        }
        finish();
    }

    Plan take() { return std::move(_plan); }

private:
    void problem(const std::string& text) { _problems.push_back({_line, text}); }

    void parseLine(std::string_view text) {
        Words words;
        try {
            words = splitWords(text);
            if (words.empty()) {
                return;
            }
            if (words[0] == "plan") {
                parsePlanName(words);
            } else if (words[0] == "on-failure") {
                parseOnFailure(words, 0, _stopOnFailure);
            } else if (words[0] == "step") {
                parseStep(words);
            } else if (words[0] == "teardown") {
                parseTeardown(words);
            } else if (words[0] == "expect") {
                parseExpectation(words);
            } else if (words[0] == "keep") {
                parseKeep(words);
            } else {
                parseCommand(std::move(words));
            }
        } catch (const UsageError& error) {
            problem(error.what());
        }
    }

    void parsePlanName(const Words& words) {
        if (words.size() != 2) {
            throw UsageError("expected: plan NAME");
        }
        if (!_plan.name.empty() || !_plan.steps.empty()) {
            throw UsageError("a plan has one name, before its first step");
        }
        _plan.name = words[1];
    }

    // "on-failure stop|continue" at words[i]; returns the place behind it.
    std::size_t parseOnFailure(const Words& words, std::size_t i, bool& stop) {
        if (i + 1 >= words.size() || (words[i + 1] != "stop" && words[i + 1] != "continue")) {
            throw UsageError("expected: on-failure stop or on-failure continue");
        }
        if (i == 0 && words.size() > 2) {
            throw UsageError(display(words[2], 40) + " is one word too many");
        }
        stop = words[i + 1] == "stop";
        return i + 2;
    }

    void parseStep(const Words& words) {
        endStep();
        Step step;
        step.line = _line;
        step.teardown = _teardown;
        step.stopOnFailure = _stopOnFailure;
        // The step counts even when its line is wrong, so that what follows has a place.
        _plan.steps.push_back(step);
        if (words.size() < 2 || words[1].empty()) {
            throw UsageError("expected: step NAME [retry N] [every TIME] [on-failure stop|continue]");
        }
        Step& added = _plan.steps.back();
        added.name = words[1];
        for (std::size_t i = 2; i < words.size();) {
            i = parseStepOption(words, i, added);
        }
        added.stopOnFailure = added.stopOnFailure && !added.teardown;
    }

    std::size_t parseStepOption(const Words& words, std::size_t i, Step& step) {
        const std::string next = i + 1 < words.size() ? words[i + 1] : "";
        if (words[i] == "retry") {
            long long retry = 0;
            if (!parseNumber(next, retry) || retry < 0 || retry > kMostRetries) {
                throw UsageError("retry is " + display(next, 40) + ", expected a number of further attempts");
            }
            step.retry = static_cast<unsigned int>(retry);
            return i + 2;
        }
        if (words[i] == "every") {
            if (!parseTime(next, step.every)) {
                throw UsageError("every is " + display(next, 40) + ", expected a time like 200ms or 1.5s");
            }
            return i + 2;
        }
        if (words[i] == "on-failure") {
            return parseOnFailure(words, i, step.stopOnFailure);
        }
        throw UsageError(display(words[i], 40) + ": expected retry, every or on-failure");
    }

    void parseTeardown(const Words& words) {
        endStep();
        if (words.size() > 1) {
            throw UsageError(display(words[1], 40) + " is one word too many");
        }
        if (_teardown) {
            throw UsageError("there is a teardown already");
        }
        _teardown = true;
    }

    void parseCommand(Words words) {
        if (_plan.steps.empty() || (_teardown && !_plan.steps.back().teardown)) {
            throw UsageError(display(words[0], 40) + " stands before the first step");
        }
        PlanLine line;
        line.line = _line;
        line.words = std::move(words);
        // The line counts even when it is wrong, so that its expectations have a place.
        _plan.steps.back().lines.push_back(line);
        PlanLine& added = _plan.steps.back().lines.back();
        bool variables = false;
        for (const std::string& word : added.words) {
            variables = useVariables(word) || variables;
        }
        if (!variables) {
            added.command = Command::parse(added.words);
        } else if (added.words[0] != "set" && findOperation(added.words[0]) == nullptr) {
            throw UsageError(unknownOperation(added.words[0]));
        }
    }

    // True when the word holds variables.
    bool useVariables(const std::string& word) {
        const std::vector<std::string> names = variablesOf(word);
        for (const std::string& name : names) {
            if (_kept.count(name) == 0) {
                problem("${" + name + "} has not been kept before");
            }
        }
        return !names.empty();
    }

    PlanLine& lastLine(const std::string& word) {
        if (_plan.steps.empty() || _plan.steps.back().lines.empty()) {
            throw UsageError(word + " stands behind no operation");
        }
        return _plan.steps.back().lines.back();
    }

    void checkOutput(const PlanLine& line, const std::string& output) {
        const Operation* operation = line.words.empty() ? nullptr : findOperation(line.words[0]);
        if (output == "status" || (!line.command && operation == nullptr)) {
            return;
        }
        std::vector<std::string> names;
        if (line.command) {
            names = line.command->outputNames();
        } else {
            for (const Output& known : operation->outputs) {
                names.emplace_back(known.name);
            }
        }
        if (std::find(names.begin(), names.end(), output) != names.end()) {
            return;
        }
        std::string known = "status";
        for (const std::string& name : names) {
            known += ", " + name;
        }
        throw UsageError("no such output: " + output + ", expected one of " + known);
    }

    void parseExpectation(const Words& words) {
        PlanLine& line = lastLine("expect");
        if (words.size() < 3) {
            throw UsageError("expected: expect OUTPUT [is|is-not|contains|starts-with|matches|in] VALUE");
        }
        Expectation expectation;
        expectation.line = _line;
        expectation.output = words[1];
        checkOutput(line, words[1]);
        const std::string& last = words.back();
        useVariables(last);
        std::size_t used = 4;
        static const std::map<std::string, Compare> kCompares = {{"is", Compare::is},
                                                                 {"is-not", Compare::isNot},
                                                                 {"contains", Compare::contains},
                                                                 {"starts-with", Compare::startsWith},
                                                                 {"matches", Compare::matches},
                                                                 {"in", Compare::within}};
        const auto compare = kCompares.find(words[2]);
        if (compare == kCompares.end()) {
            // "expect status ok", "expect status -2"
            expectation.compare = words[2] == "ok"       ? Compare::good
                                  : words[2] == "failed" ? Compare::failed
                                                         : Compare::is;
            expectation.expected = words[2];
            used = 3;
        } else {
            expectation.compare = compare->second;
            if (words.size() < 4) {
                throw UsageError("the value behind " + words[2] + " is missing");
            }
            expectation.expected = words[3];
        }
        if (expectation.compare == Compare::within) {
            used = parseWithin(words, expectation);
        } else if (expectation.compare == Compare::matches) {
            parsePattern(expectation);
        } else if (words[1] == "status") {
            checkStatus(expectation);
        }
        if (words.size() > used) {
            throw UsageError(display(words[used], 40) + " is one word too many");
        }
        line.expectations.push_back(std::move(expectation));
    }

    std::size_t parseWithin(const Words& words, Expectation& expectation) {
        if (!parseRange(words[3], expectation.low, expectation.high)) {
            throw UsageError(display(words[3], 40) + ": expected a range like 100..200");
        }
        if (words.size() == 4 || words[4] != "margin") {
            return 4;
        }
        if (words.size() < 6 || !parseNumber(words[5], expectation.margin) || expectation.margin < 0) {
            throw UsageError("margin: expected a number of at least 0");
        }
        return 6;
    }

    void parsePattern(Expectation& expectation) {
        // A nested repetition may take a regular expression for ever; nobody needs a long one here.
        constexpr std::size_t kLongest = 256;
        if (expectation.expected.size() > kLongest) {
            throw UsageError("the regular expression has more than 256 characters");
        }
        try {
            expectation.pattern.assign(expectation.expected, std::regex::ECMAScript | std::regex::optimize);
        } catch (const std::regex_error& error) {
            throw UsageError(display(expectation.expected, 40) + " is no regular expression: " + error.what());
        }
    }

    void checkStatus(const Expectation& expectation) {
        long long number = 0;
        const bool isWord = expectation.compare == Compare::good || expectation.compare == Compare::failed;
        if (!isWord && variablesOf(expectation.expected).empty() && !parseNumber(expectation.expected, number)) {
            throw UsageError("status " + display(expectation.expected, 40) + ": expected ok, failed or a number");
        }
    }

    void parseKeep(const Words& words) {
        PlanLine& line = lastLine("keep");
        if (words.size() != 3 || !isName(words[1])) {
            throw UsageError("expected: keep NAME OUTPUT (a name of letters, digits and _)");
        }
        checkOutput(line, words[2]);
        line.keeps.push_back({words[1], words[2]});
        _kept.insert(words[1]);
    }

    void endStep() {
        if (!_plan.steps.empty() && _plan.steps.back().lines.empty() && !_plan.steps.back().name.empty()) {
            _problems.push_back({_plan.steps.back().line, "the step does nothing"});
        }
    }

    void finish() {
        endStep();
        if (_plan.name.empty()) {
            _problems.insert(_problems.begin(), {1, "the plan has no name, expected: plan NAME"});
        }
        if (_plan.steps.empty()) {
            problem("the plan has no step");
        }
        std::stable_sort(_problems.begin(), _problems.end(),
                         [](const Problem& left, const Problem& right) { return left.line < right.line; });
    }

    std::vector<Problem>& _problems;
    Plan _plan;
    unsigned int _line = 0;
    bool _teardown = false;
    bool _stopOnFailure = true;
    std::set<std::string> _kept;
};

}  // namespace

std::string PlanLine::text() const {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + quoteWord(word);
    }
    return text;
}

Plan parsePlan(const std::string& text, std::vector<Problem>& problems) {
    return Parser(text, problems).take();
}

bool substitute(std::string& word, const Variables& variables) {
    std::string result;
    std::size_t start = 0;
    for (std::size_t dollar; (dollar = word.find("${", start)) != std::string::npos;) {
        const std::size_t end = word.find('}', dollar);
        if (end == std::string::npos) {
            break;
        }
        const std::string name = word.substr(dollar + 2, end - dollar - 2);
        const auto found = variables.find(name);
        if (found == variables.end()) {
            word = name;
            return false;
        }
        result += word.substr(start, dollar - start) + found->second;
        start = end + 1;
    }
    word = result + word.substr(start);
    return true;
}

}  // namespace tool
