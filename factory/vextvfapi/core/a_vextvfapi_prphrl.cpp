// SPDX-License-Identifier: Apache-2.0
// The peripheral module's event operations.
#include "a_vextvfapi_prphrl.h"

#include "fapi_event_slot.h"

FAPI_DEFINE_MODULE_EVENTS(prphrl)
