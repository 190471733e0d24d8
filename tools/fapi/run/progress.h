// SPDX-License-Identifier: Apache-2.0
// What a person sees of a run while it goes on.
#ifndef FAPI_BENCH_RUN_PROGRESS_H
#define FAPI_BENCH_RUN_PROGRESS_H

#include <functional>

#include "record/result.h"
#include "run/announcement.h"

namespace tool {

// Follows a run: a line that is rewritten while a step runs on a terminal, a plain line a step elsewhere.
class Progress {
public:
    enum class Shows { lines, json, nothing };
    Progress(const Plan& plan, Shows shows);
    // The run begins with this step.
    void resume(std::size_t step) const;
    // How often refresh() wants to be called while nothing happens.
    int refreshMilliseconds() const { return 200; }
    // Whom else it tells; null: nobody.
    void announce(Announcement* announcement) { _announcement = announcement; }
    // Called with every step that has ended.
    void atEndOfStep(std::function<void(std::size_t, const StepResult&)> use) { _atEndOfStep = std::move(use); }
    void begin(std::size_t step, std::size_t attempt);
    void refresh();
    void end(std::size_t step, const StepResult& result);
    // The table of steps.
    void finish(const PlanResult& result);
    // The counts, where the reports are, and as the last line the verdict.
    void conclude(const PlanResult& result, const std::vector<std::string>& reports) const;

private:
    std::string place(std::size_t step) const;
    void printEnded();

    const Plan& _plan;
    const bool _quiet;
    const bool _json;
    const bool _terminal;
    Announcement* _announcement = nullptr;
    std::size_t _step = 0;
    std::size_t _attempt = 0;  // 0: no step is running
    Clock::time_point _start;
    std::vector<std::string> _ended;  // lines of steps that have ended while a question was on the terminal
    std::function<void(std::size_t, const StepResult&)> _atEndOfStep;
};

}  // namespace tool

#endif
