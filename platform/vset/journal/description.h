// SPDX-License-Identifier: Apache-2.0
// Descriptions of the middleware's functions: the names of their arguments, and how these are written into the journal.
#ifndef VSET_DESCRIPTION_H
#define VSET_DESCRIPTION_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "call_text.h"
#include "vset_call.h"

namespace vset {

// The arguments of one call, as they were given, and its result once there is one.
struct ArgumentValues {
    const RawArgument* pValues;
    long long s64Result = 0;

    std::uint64_t operator[](std::size_t index) const { return pValues[index].u64Value; }
};

using WriteArgument = std::function<void(CallText& text, const ArgumentValues& values)>;

struct CallDescription {
    const char* pszCall = nullptr;
    // HW_ERR_FAILED means that nothing was found, which is no refusal.
    bool bLookUp = false;
    // The inputs are written before the function does its work, the outputs afterwards if it succeeded.
    std::vector<WriteArgument> inputs;
    std::vector<WriteArgument> outputs;
    // The names of all fields that inputs and outputs can have.
    std::vector<std::string> fields;
};

// Returns all functions of the middleware, sorted by name.
const std::vector<CallDescription>& callDescriptions();

// Returns null for a name that is no function.
const CallDescription* findCallDescription(std::string_view call);

}  // namespace vset

#endif
