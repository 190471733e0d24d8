// SPDX-License-Identifier: Apache-2.0
// What the other clients of a set are told of a run: how far it has come.
#ifndef FAPI_BENCH_RUN_ANNOUNCEMENT_H
#define FAPI_BENCH_RUN_ANNOUNCEMENT_H

#include "record/result.h"

namespace tool {

// Each message has the whole state, so that one may take the place of those before it: fast steps are told together.
class Announcement {
public:
    Announcement(const Plan& plan, const std::string& unit);

    // The run is in the results store from now on.
    void record(const RunRecord& run) { _run = &run; }
    void begin(std::size_t step, std::size_t attempt);
    void end(const StepResult& result);
    // Tells what has not been told yet, unless the last message is too young.
    void flush();
    // The run is over, with its reports written.
    void conclude(const PlanResult& result);

private:
    Field state(const char* word) const;
    void tell(const char* word);

    const Plan& _plan;
    const std::string _unit;
    const RunRecord* _run = nullptr;
    std::size_t _step = 0, _attempt = 0, _ended = 0, _bad = 0;
    Judgement _worst{Verdict::passed, ""};
    bool _isDue = true;
    Clock::time_point _told;
    std::chrono::system_clock::time_point _began = std::chrono::system_clock::now();
};

}  // namespace tool

#endif
