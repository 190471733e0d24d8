// SPDX-License-Identifier: Apache-2.0
// The faults of a run, as the set has them.
#include "run/armed_faults.h"

#include <algorithm>

namespace tool {

namespace {

// The actions, as plans name them, too.
constexpr char kArm[] = "fault";
constexpr char kTakeBack[] = "clear-faults";

}  // namespace

ArmedFaults::ArmedFaults(const std::vector<PlanFault>& faults, Act act, Sync sync)
    : _faults(faults), _act(std::move(act)), _sync(std::move(sync)), _calls(faults.size()), _armed(faults.size()) {}

void ArmedFaults::resume(const std::vector<unsigned int>& calls) {
    _calls = calls;
    _calls.resize(_faults.size());
}

void ArmedFaults::beginStep(const StepNames& step, bool anew) {
    if (isEmpty()) {
        return;
    }
    // What was called before is not theirs.
    _sync();
    for (std::size_t i = 0; i < _faults.size(); ++i) {
        if (!_faults[i].step.empty() && step.has(_faults[i].step)) {
            _calls[i] = anew ? 0 : _calls[i];
            arm(i);
        } else if (_faults[i].step.empty() && !_armed[i]) {
            arm(i);
        }
    }
}

void ArmedFaults::endStep(const StepNames& step) {
    if (isEmpty()) {
        return;
    }
    _sync();
    const bool hasOwn = std::any_of(_faults.begin(), _faults.end(),
                                    [&](const PlanFault& f) { return !f.step.empty() && step.has(f.step); });
    if (!hasOwn) {
        return;
    }
    _act(kTakeBack, {});
    for (std::size_t i = 0; i < _faults.size(); ++i) {
        _armed[i] = false;
        if (_faults[i].step.empty()) {
            arm(i);
        }
    }
}

void ArmedFaults::add(const std::string& call) {
    for (std::size_t i = 0; i < _faults.size(); ++i) {
        if (_armed[i] && _faults[i].call == call) {
            ++_calls[i];
        }
    }
}

void ArmedFaults::beginWorker() {
    _armed.assign(_faults.size(), false);
}

// As much of it as is left.
void ArmedFaults::arm(std::size_t index) {
    _armed[index] = true;
    const PlanFault& fault = _faults[index];
    const unsigned int before = std::min(_calls[index], fault.from - 1);
    const unsigned int failed = _calls[index] - before;
    if (fault.times != 0 && failed >= fault.times) {
        return;
    }
    const unsigned int left = fault.times - (fault.times != 0 ? failed : 0);
    _act(kArm, {fault.call, fault.result, static_cast<long long>(fault.from - before), static_cast<long long>(left)});
}

}  // namespace tool
