// SPDX-License-Identifier: Apache-2.0
// Expectations of middleware calls: how they are read, and how what was called is judged by them.
#include "plan/calls.h"

#include <algorithm>

#include "target/in_process.h"
#include "vset/journal.h"

namespace tool {

namespace {

constexpr std::string_view kExactly = "exactly";

// Returns the pattern of a call; `text` holds no ${NAME} any more. Throws UsageError.
vset::CallPattern patternOf(const std::string& text) {
    try {
        return vset::CallPattern(text);
    } catch (const vset::UnknownCallName& error) {
        if (text.find('=') < text.find(' ')) {
            throw UsageError(display(text, 60) + " is no call: a call and its fields are one word in quotes");
        }
        const std::string near = nearest(error.strName, error.names);
        throw UsageError(error.what() + (near.empty() ? "" : ", did you mean " + near + "?"));
    } catch (const SetError& error) {
        throw UsageError(error.what());
    }
}

// Checks a call as if each variable in it were a number. Throws UsageError.
void checkPattern(const std::string& text) {
    Variables any;
    for (const std::string& name : variablesOf(text)) {
        any[name] = 0LL;
    }
    patternOf(substitute(text, any));
}

}  // namespace

bool beginsCallsCondition(const Words& words) {
    return words.size() > 1 && words[0] == "calls" && !isCompareWord(words[1]);
}

CallsCondition parseCallsCondition(const Words& words) {
    CallsCondition condition;
    condition.exactly = words[1] == kExactly;
    for (std::size_t i = condition.exactly ? 2 : 1; i < words.size(); ++i) {
        std::string call = words[i];
        if (i + 1 < words.size() && !call.empty() && call.back() == ',') {
            call.pop_back();
        }
        try {
            checkPattern(call);
        } catch (const UsageError& error) {
            throw UsageError(error.what(), i);
        }
        condition.calls.push_back(std::move(call));
    }
    if (condition.calls.empty()) {
        throw UsageError("expected: expect calls [exactly] \"FUNCTION [FIELD=VALUE]...\", ...", words.size());
    }
    return condition;
}

void CallWatch::beginLine() {
    _before = vset::lastCall();
}

Judgement CallWatch::judge(const CallsCondition& condition, const Variables& variables) const {
    std::vector<vset::CallPattern> patterns;
    for (const std::string& call : condition.calls) {
        patterns.push_back(patternOf(substitute(call, variables)));
    }
    const std::uint64_t last = vset::lastCall();
    const std::vector<vset::JournalEntry> entries = vset::journal(_before);
    const std::uint64_t first = entries.empty() ? last + 1 : entries.front().u64Number;
    if (first != _before + 1) {
        return {Verdict::error, "the line made more calls than the journal keeps: the first " +
                                    std::to_string(first - _before - 1) + " are gone"};
    }
    const std::string missing =
        vset::findCalls(patterns, entries, condition.exactly ? vset::OtherCalls::forbidden : vset::OtherCalls::allowed);
    return missing.empty() ? Judgement{} : Judgement{Verdict::failed, missing};
}

long long CallWatch::judgedRefusals() {
    _judged = vset::refusalCount();
    return static_cast<long long>(_judged - _taken);
}

std::vector<RefusedCall> CallWatch::takeRefusals(const Operation* operation) {
    std::vector<RefusedCall> refusals = refusedCalls(_taken, operation);
    if (!refusals.empty()) {
        _taken = refusals.back().number;
    }
    return refusals;
}

Judgement CallWatch::judgeRefusals(const std::vector<RefusedCall>& refusals) const {
    std::size_t unexpected = 0;
    std::string text;
    for (const RefusedCall& refusal : refusals) {
        if (refusal.number > _judged && refusal.contract.empty() && ++unexpected == 1) {
            text = displayRefusal(refusal);
        }
    }
    if (unexpected == 0) {
        return {};
    }
    return {Verdict::failed,
            unexpected == 1 ? text : text + ", and " + std::to_string(unexpected - 1) + " more refused calls"};
}

}  // namespace tool
