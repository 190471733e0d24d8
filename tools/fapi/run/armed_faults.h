// SPDX-License-Identifier: Apache-2.0
// The faults of a run, as the set has them.
#ifndef FAPI_BENCH_RUN_ARMED_FAULTS_H
#define FAPI_BENCH_RUN_ARMED_FAULTS_H

#include <functional>
#include <string>
#include <vector>

#include "plan/fault_file.h"
#include "protocol/value.h"

namespace tool {

// The name of a step as it is written, and as a run has it.
struct StepNames {
    std::string written, full;

    bool has(const std::string& name) const { return name == written || name == full; }
};

// Arms faults, and follows in the set's journal how many calls each has seen, so that another worker can go on where
// one has ended. Allocations are in no journal: of them every worker begins at the first.
class ArmedFaults {
public:
    // Carries out the action of that name.
    using Act = std::function<void(const std::string& action, const std::vector<Value>& arguments)>;
    // Waits until all that was called so far has been given to add().
    using Sync = std::function<void()>;

    ArmedFaults(const std::vector<PlanFault>& faults, Act act, Sync sync);

    bool isEmpty() const { return _faults.empty(); }
    // How many calls each fault has seen while it was armed; empty at the beginning of a run.
    const std::vector<unsigned int>& calls() const { return _calls; }
    void resume(const std::vector<unsigned int>& calls);

    // Arms what is for the whole run and what is bound to the step; `anew` unless the step has begun already.
    void beginStep(const StepNames& step, bool anew);
    // Takes back what is bound to the step, and with it whatever else has been injected meanwhile.
    void endStep(const StepNames& step);
    // A call that the journal has reported.
    void add(const std::string& call);
    // Another worker has no faults.
    void beginWorker();

private:
    void arm(std::size_t index);

    const std::vector<PlanFault>& _faults;
    const Act _act;
    const Sync _sync;
    std::vector<unsigned int> _calls;
    std::vector<bool> _armed;
};

}  // namespace tool

#endif
