// SPDX-License-Identifier: Apache-2.0
// The network module's event operations.
#include "a_vextvfapi_net.h"

#include "fapi_event_slot.h"

FAPI_DEFINE_MODULE_EVENTS(net)
