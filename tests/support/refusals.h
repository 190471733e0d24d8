// SPDX-License-Identifier: Apache-2.0
// Calls of the middleware that are refused, as rows of a table.
#ifndef TESTS_SUPPORT_REFUSALS_H
#define TESTS_SUPPORT_REFUSALS_H

#include <exception>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "hw3/hw_types.h"
#include "vset/vset.h"

namespace test {

// The value of outputs before a call that must not touch them.
constexpr HW_U32 kUntouched = 0xA5A5A5A5;

inline const HW_U8* u8(const char* pszText) {
    return reinterpret_cast<const HW_U8*>(pszText);
}
inline const HW_U8* u8(const std::string& strText) {
    return u8(strText.c_str());
}

// Returns the message of what `action` throws, or "no error".
inline std::string errorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no error";
}

// A change that spoils a record, for the refusals.
template <class Record, class Member>
Record but(Record stRecord, Member Record::*pMember, Member value) {
    stRecord.*pMember = value;
    return stRecord;
}

struct Refusal {
    const char* pszName;
    HW_Result_t result;
    std::function<HW_Result_t()> call;
};

// Returns why the last call was wrong that the set keeps; nothing when it was refused.
inline std::string lastReason() {
    const std::vector<vset::Refusal> refusals = vset::refusals();
    return refusals.empty() ? "no refusal" : refusals.back().strReason;
}

inline void expectRefusals(const std::vector<Refusal>& rows) {
    for (const Refusal& stRow : rows) {
        EXPECT_EQ(stRow.call(), stRow.result) << stRow.pszName;
    }
}

}  // namespace test

#endif
