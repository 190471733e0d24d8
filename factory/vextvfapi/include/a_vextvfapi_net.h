// SPDX-License-Identifier: Apache-2.0
// Network module: control of network interfaces.
#ifndef A_VEXTVFAPI_NET_H
#define A_VEXTVFAPI_NET_H

#include "fapi_core.h"

// --- Interfaces ------------------------------------------------------------------------------------------------------
// Calls must not overlap: list, selection and handle are one for the process.

// Brings up the network middleware; may be repeated. 0 or -1.
FAPI_API int a_vextvfapi_net_init();

// Shuts the network middleware down. Returns 0.
FAPI_API int a_vextvfapi_net_deinit();

// Opens an interface by name, the last one if several have it. Contract: after any successful look-up an unknown name
// opens the interface that is now at the place found last.
//   0  done
// 255  null; no such interface; the middleware refuses
FAPI_API int a_vextvfapi_net_open(const char* name);

// Closes the interface that was opened last.
//   0  done
// 255  the middleware refuses
FAPI_API int a_vextvfapi_net_close();

// Sets the MAC address of "eth0", with DHCP switched off meanwhile. No interface may be open.
// [in] mac  points to the address as text
//  0  the interface could be opened and closed; contract: also when it refused the address (DHCP then stays off)
// -1  the interface could not be opened or closed
// -2  null or an empty text
FAPI_API int a_vextvfapi_net_set_mac(unsigned int* mac);

// Brings an interface up or down.
//  0  the interface could be opened and closed; contract: also when it refused
// -1  the interface could not be opened or closed
// -2  null or an empty name
FAPI_API int a_vextvfapi_net_set_interface_updown(const char* name, bool up);

// --- Events ----------------------------------------------------------------------------------------------------------
// This module raises no event of its own; fapi_core.h describes the three operations.

FAPI_API int a_vextvfapi_net_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);
FAPI_API int a_vextvfapi_net_unreg_callback();
FAPI_API int a_vextvfapi_net_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                       const fapi_core::VexTvFApiEventCommonObject& b,
                                       const fapi_core::VexTvFApiEventCommonObject& c,
                                       const fapi_core::VexTvFApiEventCommonObject& d);

#endif
