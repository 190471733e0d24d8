// SPDX-License-Identifier: Apache-2.0
// The input source module's event operations.
#include "a_vextvfapi_inpsrc.h"

#include "fapi_event_slot.h"

FAPI_DEFINE_MODULE_EVENTS(inpsrc)
