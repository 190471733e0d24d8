// SPDX-License-Identifier: Apache-2.0
// The faults of a run in the process that has the set.
#include "target/armed_faults.h"

#include <algorithm>

namespace tool {

ArmedFaults::ArmedFaults(const std::vector<PlanFault>& faults, std::vector<unsigned int>& calls)
    : _faults(faults), _calls(calls), _armed(faults.size()) {
    _calls.resize(faults.size());
}

void ArmedFaults::beginStep(const std::string& step, bool anew) {
    // What was called before is not theirs.
    count();
    for (std::size_t i = 0; i < _faults.size(); ++i) {
        if (_faults[i].step == step) {
            _calls[i] = anew ? 0 : _calls[i];
            arm(i);
        } else if (_faults[i].step.empty() && !_armed[i]) {
            arm(i);
        }
    }
}

void ArmedFaults::endStep(const std::string& step) {
    count();
    const bool hasOwn = std::any_of(_faults.begin(), _faults.end(), [&](const PlanFault& f) { return f.step == step; });
    if (!hasOwn) {
        return;
    }
    vset::clearFaults();
    for (std::size_t i = 0; i < _faults.size(); ++i) {
        _armed[i] = false;
        if (_faults[i].step.empty()) {
            arm(i);
        }
    }
}

void ArmedFaults::count() {
    if (_faults.empty()) {
        return;
    }
    for (const vset::JournalEntry& entry : vset::journal()) {
        if (entry.u64Number <= _counted) {
            continue;
        }
        _counted = entry.u64Number;
        for (std::size_t i = 0; i < _faults.size(); ++i) {
            if (_armed[i] && _faults[i].fault.strCall == entry.pszCall) {
                ++_calls[i];
            }
        }
    }
}

// As much of it as is left.
void ArmedFaults::arm(std::size_t index) {
    _armed[index] = true;
    vset::Fault fault = _faults[index].fault;
    const unsigned int before = fault.u32From - 1;
    const unsigned int failed = _calls[index] - std::min(_calls[index], before);
    if (fault.u32Times != 0 && failed >= fault.u32Times) {
        return;
    }
    fault.u32From -= std::min(_calls[index], before);
    fault.u32Times -= fault.u32Times != 0 ? failed : 0;
    vset::inject(fault);
}

}  // namespace tool
