// SPDX-License-Identifier: Apache-2.0
// A run as a person watches it.
#include <cstdio>

#include <unistd.h>

#include "plan_report.h"

namespace tool {

namespace {

// Of a longer plan the table shows only what did not pass.
constexpr std::size_t kWholeTable = 200;

const char* colour(Verdict verdict) {
    return verdict == Verdict::passed                               ? "\033[32m"
           : verdict == Verdict::failed || verdict == Verdict::died ? "\033[31m"
                                                                    : "\033[33m";
}

std::string coloured(Verdict verdict, bool terminal) {
    const std::string name = verdictName(verdict);
    return terminal ? colour(verdict) + name + "\033[0m" : name;
}

int dataDescriptor() {
    return fileno(dataOutput());
}

}  // namespace

Progress::Progress(const Plan& plan, bool json)
    : _plan(plan), _json(json), _terminal(!json && isatty(dataDescriptor()) != 0) {
    if (!_json) {
        std::fprintf(dataOutput(), "%s\n", plan.name.c_str());
    }
}

void Progress::eraseLine() const {
    std::fputs("\r\033[K", dataOutput());
}

void Progress::begin(std::size_t step, unsigned int attempt) {
    if (!_terminal) {
        return;
    }
    eraseLine();
    std::fprintf(dataOutput(), "%3zu/%zu  %s", step + 1, _plan.steps.size(), _plan.steps[step].name.c_str());
    if (attempt > 1) {
        std::fprintf(dataOutput(), "  (attempt %u)", attempt);
    }
    std::fputs(" ...", dataOutput());
    std::fflush(dataOutput());
}

void Progress::end(std::size_t step, const StepResult& result) {
    if (_json) {
        std::fprintf(dataOutput(), "%s\n",
                     jsonLine({{"step", _plan.steps[step].name},
                               {"verdict", verdictName(result.verdict)},
                               {"text", result.text},
                               {"attempts", result.attempts},
                               {"seconds", result.seconds}})
                         .c_str());
        return;
    }
    if (_terminal) {
        eraseLine();
    }
    std::fprintf(dataOutput(), "%3zu/%zu  %s: %s\n", step + 1, _plan.steps.size(), _plan.steps[step].name.c_str(),
                 coloured(result.verdict, _terminal).c_str());
    if (!result.text.empty()) {
        std::fprintf(dataOutput(), "         %s\n", result.text.c_str());
    }
}

void Progress::finish(const PlanResult& result) {
    if (_json) {
        return;
    }
    std::size_t width = 4;
    for (const Step& step : _plan.steps) {
        width = std::max(width, step.name.size());
    }
    std::fprintf(dataOutput(), "\n  no  %-*s  verdict      attempts  seconds\n", static_cast<int>(width), "step");
    const bool whole = result.steps.size() <= kWholeTable;
    for (std::size_t i = 0; i < result.steps.size(); ++i) {
        const StepResult& step = result.steps[i];
        if (!whole && step.verdict == Verdict::passed) {
            continue;
        }
        const std::string verdict = coloured(step.verdict, _terminal);
        const int blanks = 11 - static_cast<int>(std::string(verdictName(step.verdict)).size());
        std::fprintf(dataOutput(), "%4zu  %-*s  %s%*s  %8u  %7.3f\n", i + 1, static_cast<int>(width),
                     _plan.steps[i].name.c_str(), verdict.c_str(), blanks, "", step.attempts, step.seconds);
    }
}

}  // namespace tool
