// SPDX-License-Identifier: Apache-2.0
// A call of the journal in one line, and the fields of it.
#include <algorithm>
#include <cstdio>

#include "description.h"
#include "vset/journal.h"

namespace vset {

namespace {

constexpr const char* kResult = "result";

std::string hexadecimal(long long s64Value) {
    char acText[24];
    std::snprintf(acText, sizeof(acText), "0x%llx", static_cast<unsigned long long>(s64Value));
    return acText;
}

}  // namespace

std::vector<std::string> callFields(const std::string& strCall) {
    const CallDescription* const pCall = findCallDescription(strCall);
    if (pCall == nullptr) {
        throw SetError("no such middleware function: " + strCall);
    }
    std::vector<std::string> names = pCall->fields;
    names.insert(std::upper_bound(names.begin(), names.end(), kResult), kResult);
    return names;
}

std::string callLine(const JournalEntry& stEntry) {
    return std::string(stEntry.pszCall) + "(" + stEntry.strArguments +
           ") = " + (stEntry.s64Result <= 0 ? std::to_string(stEntry.s64Result) : hexadecimal(stEntry.s64Result)) +
           (stEntry.strOutputs.empty() ? "" : ", " + stEntry.strOutputs);
}

}  // namespace vset
