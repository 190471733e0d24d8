// SPDX-License-Identifier: Apache-2.0
// The middleware in words: its functions, what they answer, and which of their calls have failed.
#ifndef FAPI_AGENT_ACTIONS_MIDDLEWARE_WORDS_H
#define FAPI_AGENT_ACTIONS_MIDDLEWARE_WORDS_H

#include <cstdint>

#include "operations/operation.h"

namespace tool {

// The middleware's codes of failure by name: "busy", "timeout", ...
const std::vector<Choice>& failureCodes();

// The message for a name that is no function of the middleware, with the nearest one that is. An empty text for a
// function, and for "allocation".
std::string unknownFunction(const std::string& name);

// Returns why the function cannot answer the code of that name, or an empty text: the functions on files answer what
// their namesakes of the C library do, where such a number is a descriptor or a count.
std::string namedCodeProblem(const std::string& function, const std::string& word);

// The calls behind number `after` of the journal that this thread made in vain. A look-up that finds nothing open is
// none of them: what is not open yet is opened then.
std::vector<FailedCall> failedCalls(std::uint64_t after);

// "HW_GPIO_Open(pad=12) = 0xf (busy)"
std::string displayCall(const FailedCall& call);

// Returns what the chip has refused since that number of the refusals, on any thread, while `operation` ran; null:
// none.
std::vector<RefusedCall> refusedCalls(std::uint64_t after, const Operation* operation);
// "the chip refused HW_NET_Close(handle=0x2b1f4c3) = 0x7 (invalid-handle)"
std::string displayRefusal(const RefusedCall& call);

// ", because HW_GPIO_Open(pad=12) = 0xf (busy)" for the end of a message; empty when nothing is known.
std::string reasonOf(const Outcome& outcome);

}  // namespace tool

#endif
