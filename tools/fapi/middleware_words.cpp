// SPDX-License-Identifier: Apache-2.0
// The middleware in words.
#include "middleware_words.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "hw3/hw_types.h"
#include "vset/vset.h"
#include "words.h"

namespace tool {

namespace {

// "busy" for a code, "No such file or directory" where errno tells more, "by fault" where nothing else does.
std::string wordOf(const vset::JournalEntry& entry) {
    for (const Choice& code : failureCodes()) {
        if (entry.s64Result == code.value) {
            return code.name;
        }
    }
    return entry.s32Errno != 0 ? std::strerror(entry.s32Errno) : "";
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

std::string unknownFunction(const std::string& name) {
    const std::vector<std::string>& known = vset::faultNames();
    if (std::binary_search(known.begin(), known.end(), name)) {
        return {};
    }
    const std::string near = nearest(name, known);
    return "no such middleware function: " + display(name, 60) +
           (near.empty() ? ", nor is it allocation" : ", did you mean " + near + "?");
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

std::string displayCall(const FailedCall& call) {
    char result[32];
    // Codes are known by their hexadecimal numbers.
    std::snprintf(result, sizeof(result), call.result <= 0 ? "%lld" : "0x%llx", call.result);
    std::string word = call.word;
    if (call.byFault) {
        word += word.empty() ? "by fault" : ", by fault";
    }
    return call.name + "(" + call.arguments + ") = " + result + (word.empty() ? "" : " (" + word + ")");
}

std::string reasonOf(const Outcome& outcome) {
    return outcome.failedCalls.empty() ? "" : ", because " + displayCall(outcome.failedCalls.front());
}

}  // namespace tool
