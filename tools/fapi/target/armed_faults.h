// SPDX-License-Identifier: Apache-2.0
// The faults of a run in the process that has the set.
#ifndef FAPI_BENCH_TARGET_ARMED_FAULTS_H
#define FAPI_BENCH_TARGET_ARMED_FAULTS_H

#include <cstdint>

#include "plan/fault_file.h"

namespace tool {

// Arms faults, and follows in the set's journal how many calls each has seen, so that another process can go on where
// this one has ended. Allocations are in no journal: of them every process begins at the first.
class ArmedFaults {
public:
    // How many calls each fault has seen while it was armed; shorter than `faults` at the beginning of a run.
    ArmedFaults(const std::vector<PlanFault>& faults, std::vector<unsigned int>& calls);

    // Arms what is for the whole run and what is bound to the step; `anew` unless the step has begun already.
    void beginStep(const std::string& step, bool anew);
    // Takes back what is bound to the step, and with it whatever else has been injected meanwhile.
    void endStep(const std::string& step);
    // Brings the numbers of calls up to date.
    void count();

private:
    void arm(std::size_t index);

    const std::vector<PlanFault>& _faults;
    std::vector<unsigned int>& _calls;
    std::vector<bool> _armed;
    std::uint64_t _counted = 0;  // the last call of the journal that was looked at
};

}  // namespace tool

#endif
