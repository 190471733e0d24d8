// SPDX-License-Identifier: Apache-2.0
// Rules that a set has to keep, and the files that they are in.
#ifndef FAPI_BENCH_CONFORM_RULE_H
#define FAPI_BENCH_CONFORM_RULE_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plan/plan.h"

namespace tool {

// What checking a rule does to a set.
enum class RuleDanger {
    reads,    // nothing
    changes,  // changes something, and puts it back
    store,    // writes what outlives the power
    reboot,   // reboots the set
    pads,     // drives pads and buses, to which something may be connected
    person    // needs a person or a fixture
};
const char* dangerName(RuleDanger danger);
// Whether rules of that class are checked without being asked for.
bool isHarmless(RuleDanger danger);
// Throws UsageError for a word that names no class.
RuleDanger dangerNamed(const std::string& word, std::optional<std::size_t> place = std::nullopt);

struct Rule {
    std::string name;    // "gpio.output-reads-back"
    std::string family;  // "gpio": what its name begins with
    std::string promise;
    std::string place;                // where that is written: "hw3/hw_gpio.h"
    std::vector<std::string> breaks;  // the operations that do not work without it
    RuleDanger danger = RuleDanger::reads;
    std::vector<std::string> needs;  // what the set must have
    std::chrono::seconds limit{20};
    bool isBare = false;  // the file's setup is no part of it
    Plan plan;            // how it is checked; its last step is the restoring, if there is one
    std::vector<Problem> problems;
};

struct RuleFile {
    std::string file;
    std::vector<Rule> rules;
    std::vector<Problem> problems;  // that belong to no rule
};

// Reads the rules of a text. What this target's agent does not know is among a rule's problems.
RuleFile parseRules(const std::string& file, std::string_view text);

// Returns the files in $FAPI_RULES, or else those that came with the tool, in the order of their names.
std::vector<std::string> ruleFiles();

}  // namespace tool

#endif
