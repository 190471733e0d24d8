// SPDX-License-Identifier: Apache-2.0
// The information module's event operations.
#include "a_vextvfapi_info.h"

#include "fapi_event_slot.h"

FAPI_DEFINE_MODULE_EVENTS(info)
