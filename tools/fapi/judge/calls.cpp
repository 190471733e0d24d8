// SPDX-License-Identifier: Apache-2.0
// Expectations of middleware calls: how they are read, and how what was called is judged by them.
#include "judge/calls.h"

#include <utility>

#include "judge/condition.h"

namespace tool {

namespace {

constexpr std::string_view kExactly = "exactly";

// Returns the pattern of a call; `text` holds no ${NAME} any more. Throws UsageError.
CallPattern patternOf(const std::string& text) {
    if (text.find('=') < text.find(' ')) {
        throw UsageError(display(text, 60) + " is no call: a call and its fields are one word in quotes");
    }
    return CallPattern(text);
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

void CallWatch::beginWorker(std::uint64_t refused) {
    *this = CallWatch();
    _lastRefusal = refused;
}

void CallWatch::beginLine(std::uint64_t last) {
    _calls.clear();
    _missing = 0;
    _last = last;
}

void CallWatch::addCall(JournalCall call) {
    _missing += call.number > _last + 1 ? call.number - _last - 1 : 0;
    _last = call.number;
    _calls.push_back(std::move(call));
}

void CallWatch::addRefusals(std::vector<RefusedCall> refusals) {
    for (RefusedCall& refusal : refusals) {
        if (refusal.number > _lastRefusal) {
            _lastRefusal = refusal.number;
            _refusals.push_back(std::move(refusal));
        }
    }
}

Judgement CallWatch::judge(const CallsCondition& condition, const Variables& variables) const {
    std::vector<CallPattern> patterns;
    for (const std::string& call : condition.calls) {
        patterns.push_back(patternOf(substitute(call, variables)));
    }
    if (_missing != 0) {
        return {Verdict::error,
                "the line made more calls than the journal keeps: the first " + std::to_string(_missing) + " are gone"};
    }
    const std::string missing =
        findCalls(patterns, _calls, condition.exactly ? OtherCalls::forbidden : OtherCalls::allowed);
    return missing.empty() ? Judgement{} : Judgement{Verdict::failed, missing};
}

long long CallWatch::judgedRefusals() {
    _judged = _lastRefusal;
    return static_cast<long long>(_refusals.size());
}

std::vector<RefusedCall> CallWatch::takeRefusals() {
    return std::exchange(_refusals, {});
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
