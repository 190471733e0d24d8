// SPDX-License-Identifier: Apache-2.0
// One rule, checked on a set.
#ifndef FAPI_BENCH_CONFORM_RULE_RUN_H
#define FAPI_BENCH_CONFORM_RULE_RUN_H

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/interrupts.h"
#include "conform/rule.h"
#include "record/result.h"
#include "target/session.h"

namespace tool {

enum class RuleVerdict { pass, fail, skipped, error };
const char* verdictName(RuleVerdict verdict);

struct RuleResult {
    const Rule* rule = nullptr;
    RuleVerdict verdict = RuleVerdict::pass;
    std::string text;      // why it did not pass
    std::string expected;  // why it was expected to fail; empty: it was not
    double seconds = 0;
};

constexpr const char* kVirtualKind = "virtual";
// Why the rule is not checked on a set that has these things; empty: it is. The virtual set has everything.
std::string whySkipped(const Rule& rule, const std::set<std::string>& has, bool isVirtual);

// Checks rules one after the other, each in a worker of its own.
class RuleRuns {
public:
    // `has` is what a board claims to have. Joins the set's hub. Throws RequestError.
    RuleRuns(const SessionOptions& session, std::set<std::string> has);
    ~RuleRuns();
    RuleRuns(const RuleRuns&) = delete;
    RuleRuns& operator=(const RuleRuns&) = delete;

    // Puts back what killed checks of these rules have left changed. Returns the names of the rules.
    std::vector<std::string> restoreLeftOvers(const std::vector<Rule>& rules);
    RuleResult check(const Rule& rule);
    // Whether the user wants no more rules to be checked.
    bool isInterrupted();
    bool isVirtual() const { return _isVirtual; }

private:
    std::string stemOf(const Rule& rule) const;
    PlanResult run(const Rule& rule, RuleResult& result);

    const SessionOptions _session;
    const std::set<std::string> _has;
    Interrupts _interrupts;
    // Keeps the hub between two rules.
    std::unique_ptr<Target> _target;
    bool _isVirtual = false;
    bool _isInterrupted = false;
};

}  // namespace tool

#endif
