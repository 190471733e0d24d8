// SPDX-License-Identifier: Apache-2.0
// What the repeated runs of a plan have in common.
#include "record/statistics.h"

#include <algorithm>
#include <cstdio>

#include "base/terminal.h"

namespace tool {

void RunStatistics::add(const PlanResult& result) {
    ++(result.isGood() ? _passed : result.verdict() == Verdict::interrupted ? _interrupted : _failed);
    const std::size_t runs = _passed + _failed + _interrupted;
    _shortest = runs == 1 ? result.seconds : std::min(_shortest, result.seconds);
    _longest = std::max(_longest, result.seconds);
    _sum += result.seconds;
    for (std::size_t i = 0; i < result.steps.size(); ++i) {
        if (result.steps[i].seconds() > _slowestSeconds) {
            _slowestSeconds = result.steps[i].seconds();
            _slowestStep = result.plan->nameAt(i);
            _slowestRun = runs;
        }
    }
}

void RunStatistics::print(bool json) const {
    const std::size_t runs = _passed + _failed + _interrupted;
    if (runs == 0) {
        return;
    }
    const double mean = _sum / static_cast<double>(runs);
    const std::string& step = _slowestStep;
    if (json) {
        printLine(jsonLine({{"plan", _plan.name},
                            {"runs", runs},
                            {"passed", _passed},
                            {"failed", _failed},
                            {"interrupted", _interrupted},
                            {"seconds", {{"shortest", _shortest}, {"mean", mean}, {"longest", _longest}}},
                            {"slowest", {{"step", step}, {"run", _slowestRun}, {"seconds", _slowestSeconds}}}}));
        return;
    }
    const std::string interrupted =
        _interrupted != 0 ? ", " + std::to_string(_interrupted) + " interrupted" : std::string();
    char text[200];
    std::snprintf(text, sizeof(text), "%zu runs, %zu passed, %zu failed%s; %.3f to %.3f s, %.3f s on average", runs,
                  _passed, _failed, interrupted.c_str(), _shortest, _longest, mean);
    printLine("plan \"" + printable(_plan.name) + "\": " + text);
    std::snprintf(text, sizeof(text), " of run %zu, %.3f s", _slowestRun, _slowestSeconds);
    printLine("slowest step: \"" + printable(step) + "\"" + text);
}

}  // namespace tool
