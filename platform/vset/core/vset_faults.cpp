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
    // Read without the lock on every call, because faults are rare.
    std::atomic<std::size_t> count{0};
    std::atomic<std::size_t> allocations{0};
    std::atomic<std::size_t> throwingAllocations{0};
};

// Every allocation reads it, the one of the faults themselves, too.
std::atomic<bool> bThrowingWatched{false};

Faults& theFaults() {
    static Faults& faults = *new Faults;
    return faults;
}

// The function names, written by the build from the headers of the interface.
constexpr const char* kFunctions[] = {
#include "vset_functions.inc"
};

constexpr char kMinusOne[] = "-1";

// Functions whose result HW_ERR_FAILED means success: a descriptor, a count, a "done".
constexpr struct {
    const char* pszCall;
    const char* pszFailures;
} kOwnFailures[] = {
    {"HW_FS_Open", "-1 for a file that does not exist, -2 for other failures"},
    {"HW_FS_Close", kMinusOne},
    {"HW_FS_Write", "-1, or fewer bytes than were to be written"},
    {"HW_FS_Fclose", kMinusOne},
    {"HW_FS_Fread", "-1, or fewer members than were to be read"},
    {"HW_FS_Fwrite", "-1, or fewer members than were to be written"},
    {"HW_FS_Fseek", kMinusOne},
    {"HW_FS_Stat", kMinusOne},
    {"HW_FS_MkDir", kMinusOne},
    {"HW_FS_Unlink", kMinusOne},
    {"HW_FS_Sync", kMinusOne},
    {"HW_TUNER_FactoryCmdApplyVif", "0"},
};

// Counts the call, and returns whether it is one of those that fail.
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
            const long long s64Result = stArmed.stFault.s64Result;
            stTaken = {true, s64Result != kNoResult ? s64Result : HW_ERR_FAILED, stArmed.stFault.s32Errno};
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

bool detail::isThrowingAllocationWatched() {
    return bThrowingWatched.load(std::memory_order_relaxed);
}

bool detail::takeThrowingAllocationFault() {
    theFaults().throwingAllocations.fetch_add(1, std::memory_order_relaxed);
    return takeFault(kThrowingAllocation).bTaken;
}

std::size_t throwingAllocations() {
    return theFaults().throwingAllocations.load(std::memory_order_relaxed);
}

std::string ownFailures(const std::string& strCall) {
    for (const auto& [pszCall, pszFailures] : kOwnFailures) {
        if (strCall == pszCall) {
            return pszFailures;
        }
    }
    return {};
}

void inject(const Fault& stFault) {
    if (!std::binary_search(faultNames().begin(), faultNames().end(), stFault.strCall)) {
        throw SetError("no such middleware function: " + stFault.strCall);
    }
    if (stFault.u32From == 0) {
        throw SetError("fault of " + stFault.strCall + ": calls are counted from 1");
    }
    if (const std::string strFailures = ownFailures(stFault.strCall);
        stFault.s64Result == kNoResult && !strFailures.empty()) {
        throw SetError("fault of " + stFault.strCall + ": say what it answers, for it answers no code: " + strFailures);
    }
    Faults& faults = theFaults();
    const std::lock_guard<std::mutex> lock(faults.mutex);
    faults.armed.push_back({stFault});
    faults.count = faults.armed.size();
    bThrowingWatched = bThrowingWatched || stFault.strCall == kThrowingAllocation;
}

const std::vector<std::string>& faultNames() {
    static const std::vector<std::string>& names = *new std::vector<std::string>([] {
        std::vector<std::string> all(std::begin(kFunctions), std::end(kFunctions));
        all.emplace_back(kAllocation);
        all.emplace_back(kThrowingAllocation);
        std::sort(all.begin(), all.end());
        return all;
    }());
    return names;
}

void clearFaults() {
    Faults& faults = theFaults();
    const std::lock_guard<std::mutex> lock(faults.mutex);
    bThrowingWatched = false;
    faults.armed.clear();
    faults.count = 0;
}

}  // namespace vset
