// SPDX-License-Identifier: Apache-2.0
// The middleware in words.
#include "actions/middleware_words.h"

#include <algorithm>
#include <cstring>
#include <thread>

#include "actions/contract_refusals.h"
#include "hw3/hw_types.h"
#include "vset/journal.h"

namespace tool {

namespace {

// "busy" for a code, or an empty text.
std::string codeName(long long result) {
    const auto& codes = failureCodes();
    const auto code = std::find_if(codes.begin(), codes.end(), [&](const Choice& row) { return row.value == result; });
    return code != codes.end() ? code->name : std::string();
}

// "busy" for a code, "No such file or directory" where errno tells more, "by fault" where nothing else does.
std::string wordOf(const vset::JournalEntry& entry) {
    const std::string name = codeName(entry.s64Result);
    return name.empty() && entry.s32Errno != 0 ? std::strerror(entry.s32Errno) : name;
}

RefusedCall refusedCall(const vset::Refusal& refusal, const Operation* operation) {
    const bool isCallers = operation != nullptr && refusal.thread == std::this_thread::get_id();
    return {refusal.u64Number,
            refusal.strCall,
            refusal.strArguments,
            refusal.s64Result,
            codeName(refusal.s64Result),
            refusal.strReason,
            std::string(contractReason(refusal, isCallers ? operation->shortName() : ""))};
}

bool isVainLookUp(const vset::JournalEntry& entry) {
    constexpr std::string_view kLookUp = "Handle";
    const std::string_view name = entry.pszCall;
    return entry.s64Result == HW_ERR_FAILED && !entry.bFault && name.size() > kLookUp.size() &&
           name.substr(name.size() - kLookUp.size()) == kLookUp;
}

}  // namespace

const std::vector<Choice>& failureCodes() {
    static const std::vector<Choice> codes = {
        {"failed", HW_ERR_FAILED},
        {"not-inited", HW_ERR_NOT_INITED},
        {"not-support", HW_ERR_NOT_SUPPORT},
        {"not-implement", HW_ERR_NOT_IMPLEMENT},
        {"invalid-handle", HW_ERR_INVALID_HANDLE},
        {"invalid-parameter", HW_ERR_INVALID_PARAMETER},
        {"resources", HW_ERR_RESOURCES},
        {"memory-allocate", HW_ERR_MEMORY_ALLOCATE},
        {"chaos", HW_ERR_CHAOS},
        {"data-error", HW_ERR_DATA_ERROR},
        {"timeout", HW_ERR_TIMEOUT},
        {"limition", HW_ERR_LIMITION},
        {"busy", HW_ERR_BUSY},
    };
    return codes;
}

std::vector<FailedCall> failedCalls(std::uint64_t after) {
    std::vector<FailedCall> calls;
    for (const vset::JournalEntry& entry : vset::journal(after)) {
        if (entry.bFailed && entry.thread == std::this_thread::get_id() && !isVainLookUp(entry)) {
            calls.push_back({entry.pszCall, entry.strArguments, entry.s64Result, wordOf(entry), entry.bFault});
        }
    }
    return calls;
}

std::vector<RefusedCall> refusedCalls(std::uint64_t after, const Operation* operation) {
    std::vector<RefusedCall> calls;
    if (vset::refusalCount() == after) {
        return calls;
    }
    for (const vset::Refusal& refusal : vset::refusals(after)) {
        calls.push_back(refusedCall(refusal, operation));
    }
    return calls;
}

}  // namespace tool
