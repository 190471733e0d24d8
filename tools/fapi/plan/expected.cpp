// SPDX-License-Identifier: Apache-2.0
// Steps that have to fail on a known-bad unit.
#include "plan/expected.h"

#include <algorithm>

#include "base/ini.h"

namespace tool {

namespace {

constexpr Verdict kExpectable[] = {Verdict::failed, Verdict::died, Verdict::error};

// Throws UsageError, whose word is 0 for the value.
void readEntry(const IniEntry& entry, ExpectedFailure& failure) {
    if (entry.key == "reason") {
        failure.reason = entry.text;
        return;
    }
    if (entry.key != "verdict") {
        const std::string near = nearest(entry.key, {"reason", "verdict"});
        throw UsageError(display(entry.key, 40) + ": expected verdict or reason" +
                         (near.empty() ? "" : ", did you mean " + near + "?"));
    }
    const auto* found = std::find_if(std::begin(kExpectable), std::end(kExpectable),
                                     [&](Verdict verdict) { return entry.text == verdictName(verdict); });
    if (found == std::end(kExpectable)) {
        throw UsageError("verdict is " + display(std::string(entry.text), 40) + ", expected failed, died or error", 0);
    }
    failure.verdict = *found;
}

}  // namespace

std::vector<ExpectedFailure> parseExpected(std::string_view text, std::vector<Problem>& problems) {
    std::vector<ExpectedFailure> failures;
    for (const IniSection& section : parseIni(text, problems)) {
        if (section.kind != "step" || section.name.empty()) {
            problems.push_back({section.line, 1, "expected: [step NAME]"});
            continue;
        }
        ExpectedFailure failure = {section.line, section.name, Verdict::failed, ""};
        bool hasVerdict = false;
        for (const IniEntry& entry : section.entries) {
            try {
                hasVerdict = hasVerdict || entry.key == "verdict";
                readEntry(entry, failure);
            } catch (const UsageError& error) {
                problems.push_back({entry.line, error.word() ? entry.column : 1, error.what()});
            }
        }
        if (!hasVerdict || failure.reason.empty()) {
            problems.push_back({section.line, 1, "a step that fails as expected has a verdict and a reason"});
        }
        failures.push_back(std::move(failure));
    }
    if (failures.empty() && problems.empty()) {
        problems.push_back({1, 1, "names no step, expected: [step NAME]"});
    }
    std::stable_sort(problems.begin(), problems.end(),
                     [](const Problem& left, const Problem& right) { return left.line < right.line; });
    return failures;
}

}  // namespace tool
