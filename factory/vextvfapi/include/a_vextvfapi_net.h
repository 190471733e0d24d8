// SPDX-License-Identifier: Apache-2.0
// Network module: control of network interfaces.
#ifndef A_VEXTVFAPI_NET_H
#define A_VEXTVFAPI_NET_H

#include "fapi_core.h"

// --- Interfaces ------------------------------------------------------------------------------------------------------
// Calls must not overlap: list, selection and handle are one for the process.

// Brings up the network middleware; may be repeated. 0 or -1.
FAPI_API int a_vextvfapi_net_init();

// Shuts it down. Returns 0.
FAPI_API int a_vextvfapi_net_deinit();

// Opens the interface `name`, of several with that name the last. Once any name has been found, an unknown one opens
// what now stands at its place in the list. 0; 255 for null, when there is no such interface or the middleware refuses.
FAPI_API int a_vextvfapi_net_open(const char* name);

// Closes what was opened last. 0, or 255 when the middleware refuses.
FAPI_API int a_vextvfapi_net_close();

// Gives "eth0" the MAC address of the text that `mac` points at, with DHCP switched off meanwhile. Nothing may be open.
// 0 when the interface could be opened and closed, also when the address was refused (DHCP then stays off); -1 when it
// could not; -2 for null or an empty text.
FAPI_API int a_vextvfapi_net_set_mac(unsigned int* mac);

// Brings the interface `name` up or down. Results as above: a refusal by the interface is 0.
FAPI_API int a_vextvfapi_net_set_interface_updown(const char* name, bool up);

// --- Events ----------------------------------------------------------------------------------------------------------

// Registers `callback` for the events of this module, replacing an earlier one; null registers none. Returns 0.
FAPI_API int a_vextvfapi_net_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);

// Removes the callback; harmless when there is none. After it has returned, no call into the old callback starts any
// more. Returns 0.
FAPI_API int a_vextvfapi_net_unreg_callback();

// Delivers an event to the registered callback on the calling thread and returns the callback's result; -1 when no
// callback is registered or the callback throws.
FAPI_API int a_vextvfapi_net_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                       const fapi_core::VexTvFApiEventCommonObject& b,
                                       const fapi_core::VexTvFApiEventCommonObject& c,
                                       const fapi_core::VexTvFApiEventCommonObject& d);

#endif
