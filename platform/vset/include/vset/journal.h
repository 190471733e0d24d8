// SPDX-License-Identifier: Apache-2.0
// Looking for calls in the journal: by function, arguments, outputs and result.
#ifndef VSET_JOURNAL_H
#define VSET_JOURNAL_H

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vset/vset.h"

namespace vset {

// A call to look for: `HW_DISP_SetMute flags=0x400`, `HW_GPIO_Open pad=7 result=0`. Only the fields that are named are
// compared, numbers by their value; a text needs its quotes only when it has a blank.
struct VSET_API CallPattern {
    std::string strText;  // as it was written
    std::string strCall;
    std::vector<std::pair<std::string, std::string>> fields;
    std::optional<long long> result;

    // Throws SetError for a pattern that cannot be read, and UnknownCallName for an unknown function or field.
    explicit CallPattern(const std::string& strPattern);

    bool matches(const JournalEntry& stEntry) const;
};

// A name in a pattern that does not exist, and those that do.
class VSET_API UnknownCallName : public SetError {
public:
    UnknownCallName(const std::string& strWhat, std::string strUnknown, std::vector<std::string> known)
        : SetError(strWhat), strName(std::move(strUnknown)), names(std::move(known)) {}

    const std::string strName;
    const std::vector<std::string> names;
};

// Says whether other calls may come between the expected ones.
enum class OtherCalls { allowed, forbidden };

// Returns nothing when the calls of `entries` are those of `patterns`, in this order, else one line that says which
// call is missing or in the way.
VSET_API std::string findCalls(const std::vector<CallPattern>& patterns, const std::vector<JournalEntry>& entries,
                               OtherCalls eOthers = OtherCalls::allowed);

// Returns the names of the fields that arguments and outputs of a function can have, sorted; each function also has
// "result". Throws UnknownCallName.
VSET_API std::vector<std::string> callFields(const std::string& strCall);

// Returns the call in one line: `HW_GPIO_Open(pad=7) = 0, handle=0x2b1f4c3`.
VSET_API std::string callLine(const JournalEntry& stEntry);

}  // namespace vset

#endif
