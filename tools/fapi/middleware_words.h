// SPDX-License-Identifier: Apache-2.0
// The middleware in words: its functions, what they answer, and which of their calls have failed.
#ifndef FAPI_TOOL_MIDDLEWARE_WORDS_H
#define FAPI_TOOL_MIDDLEWARE_WORDS_H

#include <cstdint>

#include "operation.h"

namespace tool {

// The middleware's codes of failure by name: "busy", "timeout", ...
const std::vector<Choice>& failureCodes();

// The message for a name that is no function of the middleware, with the nearest one that is. An empty text for a
// function, and for "allocation".
std::string unknownFunction(const std::string& name);

// The calls behind number `after` of the journal that this thread made in vain. A look-up that finds nothing open is
// none of them: what is not open yet is opened then.
std::vector<FailedCall> failedCalls(std::uint64_t after);

// "HW_GPIO_Open(pad=12) = 0xf (busy)"
std::string displayCall(const FailedCall& call);
// ", because HW_GPIO_Open(pad=12) = 0xf (busy)" for the end of a message; empty when nothing is known.
std::string reasonOf(const Outcome& outcome);

}  // namespace tool

#endif
