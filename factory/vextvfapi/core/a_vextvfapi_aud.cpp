// SPDX-License-Identifier: Apache-2.0
// The audio module's event operations.
#include "a_vextvfapi_aud.h"

#include "fapi_event_slot.h"

FAPI_DEFINE_MODULE_EVENTS(aud)
