// SPDX-License-Identifier: Apache-2.0
// The codes of the middleware by name, and which of its calls have failed or were refused.
#ifndef FAPI_AGENT_ACTIONS_MIDDLEWARE_WORDS_H
#define FAPI_AGENT_ACTIONS_MIDDLEWARE_WORDS_H

#include <cstdint>

#include "protocol/outcome.h"

namespace tool {

// The middleware's codes of failure by name: "busy", "timeout", ...
const std::vector<Choice>& failureCodes();

// The calls behind number `after` of the journal that this thread made in vain. A look-up that finds nothing open is
// none of them: what is not open yet is opened then.
std::vector<FailedCall> failedCalls(std::uint64_t after);

// Returns what the chip has refused since that number of the refusals, on any thread, while `operation` ran; null:
// none.
std::vector<RefusedCall> refusedCalls(std::uint64_t after, const Operation* operation);

}  // namespace tool

#endif
