// SPDX-License-Identifier: Apache-2.0
// The display module's event operations.
#include "a_vextvfapi_disp.h"

#include "fapi_event_slot.h"

FAPI_DEFINE_MODULE_EVENTS(disp)
