// SPDX-License-Identifier: Apache-2.0
// Reads files of rules. Below its head each rule is a plan, which the plans' own reader reads.
#include "conform/rule.h"

#include <algorithm>
#include <set>

#include "base/words.h"
#include "plan/files.h"
#include "target/target_description.h"

namespace tool {

namespace {

constexpr const char* kDangers[] = {"reads", "changes", "store", "reboot", "pads", "person"};
constexpr long long kLongestSeconds = 600;
constexpr char kRule[] = "rule";
constexpr char kSetup[] = "setup";
constexpr char kRestore[] = "restore";

// Each word is a line that begins a step of the rule's plan.
constexpr struct {
    const char* word;
    const char* step;
} kSections[] = {
    {kSetup, "Setup"},
    {"before", "Before"},
    {"check", "Check"},
    {kRestore, "Restore"},
};

const char* sectionOf(const Words& words) {
    const auto* const found = std::find_if(std::begin(kSections), std::end(kSections), [&](const auto& section) {
        return words.size() == 1 && words[0] == section.word;
    });
    return found != std::end(kSections) ? found->step : nullptr;
}

// Collects what the lines of a rule's head say.
class RuleHead {
public:
    // Returns whether the line belongs to a head. Throws UsageError.
    static bool read(const Words& words, Rule& rule) {
        if (words[0] == "promise") {
            if (words.size() != 4 || words[2] != "in") {
                throw UsageError("expected: promise TEXT in PLACE", std::min<std::size_t>(words.size(), 4));
            }
            rule.promise = words[1];
            rule.place = words[3];
        } else if (words[0] == "breaks") {
            rule.breaks.assign(words.begin() + 1, words.end());
            checkOperations(words);
        } else if (words[0] == "danger") {
            rule.danger = dangerNamed(one(words), 1);
        } else if (words[0] == "needs") {
            rule.needs.assign(words.begin() + 1, words.end());
        } else if (words[0] == "limit") {
            rule.limit = std::chrono::seconds(seconds(words));
        } else if (words[0] == "bare" && words.size() == 1) {
            rule.isBare = true;
        } else {
            return false;
        }
        return true;
    }

private:
    static const std::string& one(const Words& words) {
        if (words.size() != 2) {
            throw UsageError(words[0] + " takes one word", std::min<std::size_t>(words.size(), 2));
        }
        return words[1];
    }

    static long long seconds(const Words& words) {
        long long number = 0;
        if (!parseNumber(one(words), number) || number < 1 || number > kLongestSeconds) {
            throw UsageError(
                "limit is " + display(words[1], 40) + ", expected seconds from 1 to " + std::to_string(kLongestSeconds),
                1);
        }
        return number;
    }

    static void checkOperations(const Words& words) {
        for (std::size_t i = 1; i < words.size(); ++i) {
            if (findOperation(words[i]) == nullptr) {
                throw UsageError(unknownOperation(words[i]), i);
            }
        }
    }
};

class RuleParser {
public:
    RuleParser(const std::string& file, std::string_view text) : _lines(splitLines(text)) {
        _file.file = file;
        std::size_t begin = find(0);
        _setupEnd = begin;
        while (begin < _lines.size()) {
            const std::size_t end = find(begin + 1);
            parseRule(begin, end);
            begin = end;
        }
        if (_file.rules.empty()) {
            _file.problems.push_back({1, 1, "has no rule"});
        }
    }

    RuleFile take() { return std::move(_file); }

private:
    // Returns the next line that begins a rule.
    std::size_t find(std::size_t line) const {
        const auto isRule = [](std::string_view text) { return text.substr(0, std::size(kRule)) == "rule "; };
        return static_cast<std::size_t>(
            std::find_if(_lines.begin() + static_cast<std::ptrdiff_t>(std::min(line, _lines.size())), _lines.end(),
                         isRule) -
            _lines.begin());
    }

    void parseRule(std::size_t begin, std::size_t end) {
        Rule rule;
        rule.plan.file = _file.file;
        readName(begin, rule);
        // The plan has the lines at their places, so that its messages name those of the file.
        std::vector<std::string> lines(end);
        lines[0] = "plan " + quoteWord(rule.name);
        std::size_t first = begin + 1;
        while (first < end && readHead(first, rule)) {
            ++first;
        }
        copy(rule.isBare ? _setupEnd : 0, _setupEnd, lines);
        copy(first, end, lines);
        check(rule, static_cast<unsigned int>(begin + 1));
        readPlan(lines, rule);
        _file.rules.push_back(std::move(rule));
    }

    void readName(std::size_t line, Rule& rule) {
        guarded(line, rule, [&](const Words& words) {
            const std::size_t point = words.size() == 2 ? words[1].find('.') : std::string::npos;
            if (point == std::string::npos || point == 0 || point + 1 == words[1].size()) {
                throw UsageError("expected: rule FAMILY.NAME", 1);
            }
            rule.name = words[1];
            rule.family = rule.name.substr(0, point);
            if (!_names.insert(rule.name).second) {
                throw UsageError("there are two rules of the name " + rule.name, 1);
            }
        });
    }

    // Returns false behind the head.
    bool readHead(std::size_t line, Rule& rule) {
        bool isHead = true;
        guarded(line, rule, [&](const Words& words) {
            isHead = words.empty() || (sectionOf(words) == nullptr && RuleHead::read(words, rule));
        });
        return isHead;
    }

    template <class Read>
    void guarded(std::size_t line, Rule& rule, Read&& read) {
        try {
            read(splitWords(_lines[line]));
        } catch (const UsageError& error) {
            rule.problems.push_back({static_cast<unsigned int>(line + 1), columnOf(_lines[line], error), error.what()});
        }
    }

    void copy(std::size_t begin, std::size_t end, std::vector<std::string>& lines) const {
        for (std::size_t i = std::max<std::size_t>(begin, 1); i < end; ++i) {
            const char* step = nullptr;
            try {
                step = sectionOf(splitWords(_lines[i]));
            } catch (const UsageError&) {
                // The plans' reader says so.
            }
            lines[i] = step != nullptr ? "step " + quoteWord(step) : std::string(_lines[i]);
        }
    }

    static void check(Rule& rule, unsigned int line) {
        if (rule.promise.empty() || rule.breaks.empty()) {
            rule.problems.push_back({line, 1, "a rule has a promise, and names the operations that it breaks"});
        }
    }

    static void readPlan(const std::vector<std::string>& lines, Rule& rule) {
        std::string text;
        for (const std::string& line : lines) {
            text += line + '\n';
        }
        Plan plan = parsePlan(text, rule.problems);
        plan.file = rule.plan.file;
        plan.hash = rule.name;
        plan.judgesRefusals = false;
        if (!plan.steps.empty() && plan.steps.back().name == kSections[3].step) {
            Step& restoring = plan.steps.back();
            restoring.teardown = true;
            restoring.stopOnFailure = false;
            plan.bringsUpTeardown = plan.steps.front().name == kSections[0].step;
        }
        rule.plan = std::move(plan);
    }

    const std::vector<std::string_view> _lines;
    std::size_t _setupEnd = 0;
    std::set<std::string> _names;
    RuleFile _file;
};

}  // namespace

const char* dangerName(RuleDanger danger) {
    return kDangers[static_cast<std::size_t>(danger)];
}

bool isHarmless(RuleDanger danger) {
    return danger == RuleDanger::reads || danger == RuleDanger::changes;
}

RuleDanger dangerNamed(const std::string& word, std::optional<std::size_t> place) {
    const auto* const found = std::find(std::begin(kDangers), std::end(kDangers), word);
    if (found == std::end(kDangers)) {
        std::string names;
        for (const char* name : kDangers) {
            names += (names.empty() ? "" : ", ") + std::string(name);
        }
        throw UsageError("danger is " + display(word, 40) + ", expected one of " + names, place);
    }
    return static_cast<RuleDanger>(found - std::begin(kDangers));
}

RuleFile parseRules(const std::string& file, std::string_view text) {
    return RuleParser(file, text).take();
}

std::vector<std::string> ruleFiles() {
    std::vector<std::string> files;
    for (const std::string& folder : sharedFolders("FAPI_RULES", "conformance")) {
        files = filesIn(folder, ".rules");
        if (!files.empty()) {
            break;
        }
    }
    return files;
}

}  // namespace tool
