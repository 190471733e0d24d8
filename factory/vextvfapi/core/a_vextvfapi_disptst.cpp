// SPDX-License-Identifier: Apache-2.0
// The display test module's event operations.
#include "a_vextvfapi_disptst.h"

#include "fapi_event_slot.h"

FAPI_DEFINE_MODULE_EVENTS(disptst)
