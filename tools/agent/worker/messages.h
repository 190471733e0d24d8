// SPDX-License-Identifier: Apache-2.0
// Messages from the supervisor.
#ifndef FAPI_AGENT_WORKER_MESSAGES_H
#define FAPI_AGENT_WORKER_MESSAGES_H

#include <functional>

#include "protocol/message.h"

namespace tool {

// Hands over what comes, one message after the other, until the supervisor has ended. A thread calls it once. Throws
// MessageError.
void readMessages(int descriptor, const std::function<void(Message message)>& take);

}  // namespace tool

#endif
