// SPDX-License-Identifier: Apache-2.0
#include "conform/conformance.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include <fnmatch.h>

#include "base/durable_file.h"
#include "base/terminal.h"
#include "base/words.h"
#include "conform/rule.h"
#include "conform/rule_report.h"

namespace tool {

namespace {

using Steady = std::chrono::steady_clock;

constexpr char kRulesEnding[] = ".rules";

std::string readRulesText(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream.is_open()) {
        throw UsageError(file + ": cannot be read");
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

bool isRuleFile(const std::string& word) {
    const std::string ending = kRulesEnding;
    return word.size() > ending.size() && word.compare(word.size() - ending.size(), ending.size(), ending) == 0;
}

void printProblem(const std::string& file, const Problem& problem) {
    printMessage(file + ":" + std::to_string(problem.line) + ":" + std::to_string(problem.column) + ": " +
                 problem.text);
}

// The rules of all files: those that the words name, or else those that came with the tool.
std::vector<Rule> readRules(const std::vector<std::string>& words) {
    std::vector<std::string> files;
    std::copy_if(words.begin(), words.end(), std::back_inserter(files), isRuleFile);
    std::vector<Rule> rules;
    for (const std::string& file : files.empty() ? ruleFiles() : files) {
        RuleFile read = parseRules(file, readRulesText(file));
        for (const Problem& problem : read.problems) {
            printProblem(file, problem);
        }
        std::move(read.rules.begin(), read.rules.end(), std::back_inserter(rules));
    }
    if (rules.empty()) {
        throw UsageError("there are no rules");
    }
    return rules;
}

// Which rules the words mean.
class RuleChoice {
public:
    explicit RuleChoice(const ConformanceOptions& options) {
        for (const std::string& danger : options.dangers) {
            _dangers.insert(dangerNamed(danger));
        }
        std::copy_if(options.rules.begin(), options.rules.end(), std::back_inserter(_words),
                     [](const std::string& word) { return !isRuleFile(word); });
    }

    std::vector<const Rule*> choose(const std::vector<Rule>& rules) {
        std::vector<const Rule*> chosen;
        std::set<std::string> used;
        for (const Rule& rule : rules) {
            bool isMeant = _words.empty(), isNamed = false;
            for (const std::string& word : _words) {
                if (word == rule.name || word == rule.family || fnmatch(word.c_str(), rule.name.c_str(), 0) == 0) {
                    used.insert(word);
                    isMeant = true;
                    isNamed = isNamed || word == rule.name;
                }
            }
            if (isMeant && (isNamed || isHarmless(rule.danger) || _dangers.count(rule.danger) != 0)) {
                chosen.push_back(&rule);
            } else {
                _notChosen += isMeant ? 1 : 0;
            }
        }
        checkWords(rules, used);
        return chosen;
    }

    // How many rules were meant but are not harmless.
    std::size_t notChosen() const { return _notChosen; }

private:
    void checkWords(const std::vector<Rule>& rules, const std::set<std::string>& used) const {
        for (const std::string& word : _words) {
            if (used.count(word) != 0) {
                continue;
            }
            std::vector<std::string> names;
            for (const Rule& rule : rules) {
                names.push_back(rule.name);
                names.push_back(rule.family);
            }
            const std::string near = nearest(word, names);
            throw UsageError("no such rule: " + display(word, 60) +
                             (near.empty() ? "" : ", did you mean " + near + "?"));
        }
    }

    std::set<RuleDanger> _dangers;
    Words _words;
    std::size_t _notChosen = 0;
};

// Each line of the file is a rule and a reason: gpio.input "the board has no free pad".
std::map<std::string, std::string> readExpected(const std::string& file, const std::vector<Rule>& rules) {
    std::map<std::string, std::string> expected;
    if (file.empty()) {
        return expected;
    }
    unsigned int number = 0;
    const std::string text = readRulesText(file);
    for (const std::string_view line : splitLines(text)) {
        ++number;
        const Words words = splitWords(line);
        if (words.empty()) {
            continue;
        }
        const bool isKnown =
            std::any_of(rules.begin(), rules.end(), [&](const Rule& rule) { return rule.name == words[0]; });
        const std::string place = file + ":" + std::to_string(number) + ": ";
        if (words.size() != 2 || words[1].empty()) {
            throw UsageError(place + "expected a rule and the reason why it fails");
        }
        if (!isKnown) {
            throw UsageError(place + "no such rule: " + display(words[0], 60));
        }
        expected[words[0]] = words[1];
    }
    return expected;
}

void expect(RuleResult& result, const std::map<std::string, std::string>& expected) {
    const auto found = expected.find(result.rule->name);
    if (found == expected.end()) {
        return;
    }
    if (result.verdict == RuleVerdict::fail) {
        result.expected = found->second;
    } else if (result.verdict == RuleVerdict::pass) {
        result.verdict = RuleVerdict::fail;
        result.text = "passes, but is expected to fail: " + found->second;
    }
}

void listRules(const std::vector<const Rule*>& rules, const std::set<std::string>& has, bool json) {
    for (const Rule* rule : rules) {
        const std::string skipped = whySkipped(*rule, has, targetKind() == kVirtualKind);
        if (json) {
            Json line = {{"rule", rule->name},     {"promise", rule->promise},           {"place", rule->place},
                         {"breaks", rule->breaks}, {"danger", dangerName(rule->danger)}, {"needs", rule->needs}};
            if (!skipped.empty()) {
                line["skipped"] = skipped;
            }
            printLine(jsonLine(line));
        } else {
            printLine(rule->name + " (" + dangerName(rule->danger) + "): " + printable(rule->promise) +
                      (skipped.empty() ? "" : "; skipped: " + printable(skipped)));
        }
    }
}

// What the set claims to have. A claim that no rule needs is a slip, or meant for rules of somebody's own.
std::set<std::string> claimsOf(const ConformanceOptions& options, const std::vector<Rule>& rules) {
    std::set<std::string> has(options.has.begin(), options.has.end());
    has.insert(options.session.has.begin(), options.session.has.end());
    std::set<std::string> needed;
    for (const Rule& rule : rules) {
        needed.insert(rule.needs.begin(), rule.needs.end());
    }
    for (const std::string& claim : has) {
        if (needed.count(claim) == 0) {
            const std::string near = nearest(claim, {needed.begin(), needed.end()});
            printMessage("no rule needs " + display(claim, 40) + (near.empty() ? "" : ", did you mean " + near + "?"));
        }
    }
    return has;
}

// On the virtual set every rule can be checked, so that one which cannot is wrong itself.
bool tellProblems(const std::vector<const Rule*>& rules) {
    bool isGood = true;
    for (const Rule* rule : rules) {
        for (const Problem& problem : rule->problems) {
            printProblem(rule->plan.file, problem);
            isGood = false;
        }
    }
    return isGood;
}

int exitCodeOf(const ConformanceResult& result) {
    switch (result.verdict()) {
        case Verdict::passed:
            return kExitGood;
        case Verdict::failed:
            return kExitFailed;
        case Verdict::interrupted:
            return kExitInterrupted;
        default:
            return kExitSet;
    }
}

void writeReports(const ConformanceOptions& options, const ConformanceResult& result) {
    if (!options.junit.empty()) {
        writeFile(options.junit, junitOf(result));
    }
    if (!options.page.empty()) {
        writeFile(options.page, pageOf(result));
    }
}

}  // namespace

int runConformance(const ConformanceOptions& options) {
    const std::vector<Rule> rules = readRules(options.rules);
    RuleChoice choice(options);
    const std::vector<const Rule*> chosen = choice.choose(rules);
    const std::map<std::string, std::string> expected = readExpected(options.expected, rules);
    const std::set<std::string> has = claimsOf(options, rules);
    if (options.isList) {
        listRules(chosen, has, options.json);
        return kExitGood;
    }
    RuleRuns runs(options.session, has);
    if (runs.isVirtual() && !tellProblems(chosen)) {
        return kExitUsage;
    }
    ConformanceResult result;
    result.start = std::chrono::system_clock::now();
    result.set = setFolder(options.session);
    const Steady::time_point start = Steady::now();
    for (const std::string& rule : runs.restoreLeftOvers(rules)) {
        printMessage(rule + ": what an earlier check has changed is put back");
    }
    for (const Rule* rule : chosen) {
        if (runs.isInterrupted()) {
            break;
        }
        result.rules.push_back(runs.check(*rule));
        expect(result.rules.back(), expected);
        printRule(result.rules.back(), options.json);
    }
    result.isInterrupted = runs.isInterrupted();
    result.seconds = std::chrono::duration<double>(Steady::now() - start).count();
    writeReports(options, result);
    printSummary(result, choice.notChosen(), options.json);
    return exitCodeOf(result);
}

std::vector<std::string> ruleNames() {
    std::set<std::string> names;
    for (const std::string& file : ruleFiles()) {
        const std::string text = readRulesText(file);
        for (const std::string_view line : splitLines(text)) {
            if (line.substr(0, 5) == "rule ") {
                const std::string name(line.substr(5));
                names.insert(name);
                names.insert(name.substr(0, name.find('.')));
            }
        }
    }
    return {names.begin(), names.end()};
}

}  // namespace tool
