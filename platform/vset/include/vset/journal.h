// SPDX-License-Identifier: Apache-2.0
// What the journal writes of a call.
#ifndef VSET_JOURNAL_H
#define VSET_JOURNAL_H

#include <string>
#include <vector>

#include "vset/vset.h"

namespace vset {

// Returns the names of the fields that arguments and outputs of a function can have, sorted; each function also has
// "result". Throws SetError for an unknown function.
VSET_API std::vector<std::string> callFields(const std::string& strCall);

// Returns the call in one line: `HW_GPIO_Open(pad=7) = 0, handle=0x2b1f4c3`.
VSET_API std::string callLine(const JournalEntry& stEntry);

}  // namespace vset

#endif
