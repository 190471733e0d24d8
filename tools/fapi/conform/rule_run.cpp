// SPDX-License-Identifier: Apache-2.0
#include "conform/rule_run.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include <sys/time.h>

#include "plan/plan.h"
#include "record/unfinished_run.h"
#include "run/run.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr const char* kRuleVerdicts[] = {"pass", "fail", "skipped", "error"};

sigset_t signalsOfRules() {
    sigset_t signals = endingSignals();
    sigaddset(&signals, SIGALRM);
    return signals;
}

// SIGALRM ends the check at the rule's limit, and the restoring at another one.
class RuleLimit {
public:
    explicit RuleLimit(std::chrono::seconds limit) {
        const timeval time = {limit.count(), 0};
        const itimerval both = {time, time};
        setitimer(ITIMER_REAL, &both, nullptr);
    }
    ~RuleLimit() {
        const itimerval never = {};
        setitimer(ITIMER_REAL, &never, nullptr);
    }
    RuleLimit(const RuleLimit&) = delete;
    RuleLimit& operator=(const RuleLimit&) = delete;
};

// Where it is kept what a check has to put back, until it has.
std::string folderOfRestores() {
    const char* states = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    const std::string base = states != nullptr && *states == '/' ? states
                             : home != nullptr && *home == '/'   ? std::string(home) + "/.local/state"
                                                                 : "/tmp";
    return base + "/fapi/conformance";
}

const Step* restoring(const Plan& plan) {
    return !plan.steps.empty() && plan.steps.back().teardown ? &plan.steps.back() : nullptr;
}

// Returns what the line of that number says: "expect value is 0xA5A5".
std::string lineOf(const Plan& plan, unsigned int number) {
    for (const Step& step : plan.steps) {
        for (const PlanLine& line : step.lines) {
            if (line.line == number) {
                return line.text();
            }
            for (const Expectation& expectation : line.expectations) {
                if (expectation.line == number) {
                    return line.text() + ", " + expectation.text;
                }
            }
        }
    }
    return "";
}

// Puts the line's words behind its number, with which the text of a failure begins.
std::string withLine(const Plan& plan, const std::string& text) {
    constexpr std::string_view kWord = "line";
    if (text.compare(0, kWord.size(), kWord) != 0) {
        return text;
    }
    const char* const digits = text.c_str() + kWord.size();
    char* end = nullptr;
    const auto number = static_cast<unsigned int>(std::strtoul(digits, &end, 10));
    if (end == digits || *end != ':') {
        return text;
    }
    const std::string line = lineOf(plan, number);
    const auto place = static_cast<std::size_t>(end + 1 - text.c_str());
    const bool isNamed = line.empty() || text.find(line) != std::string::npos;
    return isNamed ? text : text.substr(0, place) + " " + line + ":" + text.substr(place);
}

// What a run's steps say of its rule.
void judge(const Rule& rule, const PlanResult& run, bool isOverdue, RuleResult& result) {
    for (std::size_t i = 0; i < run.steps.size(); ++i) {
        const StepResult& step = run.steps[i];
        const Verdict verdict = step.verdict();
        if (!isBad(verdict) || verdict == Verdict::notRun) {
            continue;
        }
        result.verdict = verdict == Verdict::error ? RuleVerdict::error : RuleVerdict::fail;
        result.text = withLine(rule.plan, step.text());
        if (verdict == Verdict::interrupted && isOverdue) {
            result.text = "does not end within " + std::to_string(rule.limit.count()) + " s: " + result.text;
        } else if (verdict == Verdict::interrupted) {
            result.verdict = RuleVerdict::error;
        }
        if (rule.plan.stepAt(i).teardown) {
            result.text = "what was changed is not put back: " + result.text;
        }
        return;
    }
}

SetOfRun setOfRules(const SessionOptions& session) {
    return {setFolder(session), session.wire ? SetOfRun::Kind::target : SetOfRun::Kind::kept};
}

// A rule begins with a worker of its own: to switch a board off and on takes longer than most rules may.
SessionOptions withoutPower(SessionOptions session) {
    if (session.wire) {
        session.wire->powerCycle.clear();
    }
    return session;
}

}  // namespace

const char* verdictName(RuleVerdict verdict) {
    return kRuleVerdicts[static_cast<std::size_t>(verdict)];
}

std::string whySkipped(const Rule& rule, const std::set<std::string>& has, bool isVirtual) {
    if (isVirtual) {
        return "";
    }
    for (const std::string& need : rule.needs) {
        if (has.count(need) == 0) {
            return "the board does not claim to have " + need;
        }
    }
    // On a board there are other actions than on the virtual set.
    return rule.problems.empty() ? "" : rule.problems.front().text;
}

RuleRuns::RuleRuns(const SessionOptions& session, std::set<std::string> has)
    : _session(withoutPower(session)), _has(std::move(has)), _interrupts(signalsOfRules()) {
    TargetOptions options = targetOptions(_session);
    options.client = "fapi conformance";
    options.stop = _interrupts.descriptor();
    _target = Target::join(options);
    _isVirtual = _target->hello()["kind"].textOr(kVirtualKind) == kVirtualKind;
}

RuleRuns::~RuleRuns() = default;

bool RuleRuns::isInterrupted() {
    _isInterrupted = _interrupts.take() || _isInterrupted;
    return _isInterrupted;
}

std::string RuleRuns::stemOf(const Rule& rule) const {
    const std::size_t set = std::hash<std::string>()(setFolder(_session));
    return folderOfRestores() + "/" + rule.name + "-" + std::to_string(set);
}

std::vector<std::string> RuleRuns::restoreLeftOvers(const std::vector<Rule>& rules) {
    std::vector<std::string> restored;
    for (const Rule& rule : rules) {
        if (restoring(rule.plan) == nullptr || !fs::exists(UnfinishedRun::fileOf(stemOf(rule)))) {
            continue;
        }
        std::unique_ptr<UnfinishedRun> left = UnfinishedRun::read(UnfinishedRun::fileOf(stemOf(rule)));
        if (left == nullptr || !left->lock()) {
            continue;
        }
        // Only the restoring is run: the other steps do nothing.
        Plan plan = rule.plan;
        for (std::size_t i = left->position().step; i + 1 < plan.steps.size(); ++i) {
            plan.steps[i].lines.clear();
        }
        Progress progress(plan, Progress::Shows::nothing);
        Interrupts interrupts(signalsOfRules());
        const RuleLimit limit(rule.limit);
        const RunInput none;
        PlanRun run(plan, none, _session, false, "", progress, interrupts, left.get());
        run.resume();
        run.open();
        run.run();
        left->finish();
        restored.push_back(rule.name);
    }
    return restored;
}

RuleResult RuleRuns::check(const Rule& rule) {
    RuleResult result;
    result.rule = &rule;
    if (const std::string why = whySkipped(rule, _has, _isVirtual); !why.empty()) {
        result.verdict = RuleVerdict::skipped;
        result.text = why;
        return result;
    }
    result.seconds = run(rule, result).seconds;
    _target->pump(std::chrono::milliseconds(0));
    return result;
}

PlanResult RuleRuns::run(const Rule& rule, RuleResult& result) {
    std::unique_ptr<UnfinishedRun> unfinished;
    if (restoring(rule.plan) != nullptr) {
        std::error_code error;
        fs::create_directories(folderOfRestores(), error);
        unfinished = std::make_unique<UnfinishedRun>(rule.plan, ParameterValues(), stemOf(rule), setOfRules(_session));
    }
    Progress progress(rule.plan, Progress::Shows::nothing);
    Interrupts interrupts(signalsOfRules());
    const RuleLimit limit(rule.limit);
    const RunInput none;
    PlanRun run(rule.plan, none, _session, false, "", progress, interrupts, unfinished.get());
    run.open();
    run.run();
    interrupts.take();
    _isInterrupted = _isInterrupted || interrupts.tookSignal(SIGINT) || interrupts.tookSignal(SIGTERM) ||
                     interrupts.tookSignal(SIGHUP);
    judge(rule, run.result(), interrupts.tookSignal(SIGALRM), result);
    // A restoring that was not reached is left to the next start.
    if (unfinished != nullptr && run.result().steps.back().verdict() != Verdict::notRun) {
        unfinished->finish();
    }
    return run.result();
}

}  // namespace tool
