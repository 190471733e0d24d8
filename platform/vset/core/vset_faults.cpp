// SPDX-License-Identifier: Apache-2.0
// Injected faults.
#include <algorithm>
#include <mutex>

#include "vset_call.h"

namespace vset {

namespace {

struct ArmedFault {
    Fault stFault;
    unsigned int u32Seen = 0;
};

struct Faults {
    std::mutex mutex;
    std::vector<ArmedFault> armed;
    // Looked at without the lock on every call; there are hardly ever faults.
    std::atomic<std::size_t> count{0};
    std::atomic<std::size_t> allocations{0};
};

Faults& theFaults() {
    static Faults& faults = *new Faults;
    return faults;
}

// Written by the build, from the headers of the interface.
constexpr const char* kFunctions[] = {
#include "vset_functions.inc"
};

// Counts the call and tells whether it is one of those that fail.
bool isDue(ArmedFault& stArmed) {
    const unsigned int u32Number = ++stArmed.u32Seen;
    const Fault& stFault = stArmed.stFault;
    return u32Number >= stFault.u32From && (stFault.u32Times == 0 || u32Number - stFault.u32From < stFault.u32Times);
}

}  // namespace

detail::TakenFault detail::takeFault(const char* pszCall) {
    Faults& faults = theFaults();
    if (faults.count.load(std::memory_order_relaxed) == 0) {
        return {};
    }
    TakenFault stTaken;
    const std::lock_guard<std::mutex> lock(faults.mutex);
    for (ArmedFault& stArmed : faults.armed) {
        if (stArmed.stFault.strCall == pszCall && isDue(stArmed) && !stTaken.bTaken) {
            stTaken = {true, stArmed.stFault.s64Result, stArmed.stFault.s32Errno};
        }
    }
    return stTaken;
}

bool detail::takeAllocationFault() {
    theFaults().allocations.fetch_add(1, std::memory_order_relaxed);
    return takeFault(kAllocation).bTaken;
}

std::size_t allocations() {
    return theFaults().allocations.load(std::memory_order_relaxed);
}

void inject(const Fault& stFault) {
    if (!std::binary_search(faultNames().begin(), faultNames().end(), stFault.strCall)) {
        throw SetError("no such middleware function: " + stFault.strCall);
    }
    if (stFault.u32From == 0) {
        throw SetError("fault of " + stFault.strCall + ": calls are counted from 1");
    }
    Faults& faults = theFaults();
    const std::lock_guard<std::mutex> lock(faults.mutex);
    faults.armed.push_back({stFault});
    faults.count = faults.armed.size();
}

const std::vector<std::string>& faultNames() {
    static const std::vector<std::string>& names = *new std::vector<std::string>([] {
        std::vector<std::string> all(std::begin(kFunctions), std::end(kFunctions));
        all.emplace_back(kAllocation);
        std::sort(all.begin(), all.end());
        return all;
    }());
    return names;
}

void clearFaults() {
    Faults& faults = theFaults();
    const std::lock_guard<std::mutex> lock(faults.mutex);
    faults.armed.clear();
    faults.count = 0;
}

}  // namespace vset
