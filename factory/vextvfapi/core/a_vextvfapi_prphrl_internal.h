// SPDX-License-Identifier: Apache-2.0
// What the sources of the peripheral module share.
#ifndef A_VEXTVFAPI_PRPHRL_INTERNAL_H
#define A_VEXTVFAPI_PRPHRL_INTERNAL_H

#include "a_vextvfapi_prphrl.h"
#include "base/fapi_receive_buffer.h"

namespace fapi::prphrl {

// How many HDMI ports the chip has, as a_vextvfapi_prphrl_init found.
extern unsigned char u8HdmiPortNumber;

// Raises an event whose first object is `object`, or carries `value`, and whose others are empty.
void raiseEvent(fapi_core::VexTvFApiEvent event, const fapi_core::VexTvFApiEventCommonObject& object);
void raiseEvent(fapi_core::VexTvFApiEvent event, int value);

// The receive buffer of both serial links, which is why they exclude each other.
extern ReceiveBuffer receiveBuffer;
bool isFactoryUartStarted();
bool isStdFactoryUartStarted();

}  // namespace fapi::prphrl

#endif
