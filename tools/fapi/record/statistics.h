// SPDX-License-Identifier: Apache-2.0
// What the repeated runs of a plan have in common.
#ifndef FAPI_BENCH_RECORD_STATISTICS_H
#define FAPI_BENCH_RECORD_STATISTICS_H

#include "record/result.h"

namespace tool {

class RunStatistics {
public:
    explicit RunStatistics(const Plan& plan) : _plan(plan) {}

    void add(const PlanResult& result);
    // Nothing when there was no run.
    void print(bool json) const;

private:
    const Plan& _plan;
    std::size_t _passed = 0, _failed = 0, _interrupted = 0;
    double _shortest = 0, _longest = 0, _sum = 0;
    std::string _slowestStep;
    std::size_t _slowestRun = 0;
    double _slowestSeconds = -1;
};

}  // namespace tool

#endif
