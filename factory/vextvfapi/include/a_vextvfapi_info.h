// SPDX-License-Identifier: Apache-2.0
// Information module: parameters of the platform's INI files.
#ifndef A_VEXTVFAPI_INFO_H
#define A_VEXTVFAPI_INFO_H

#include "fapi_core.h"

// Registers `callback` for the events of this module, replacing an earlier one; null registers none. Returns 0.
FAPI_API int a_vextvfapi_info_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);

// Removes the callback; harmless when there is none. After it has returned, no call into the old callback starts any
// more. Returns 0.
FAPI_API int a_vextvfapi_info_unreg_callback();

// Delivers an event to the registered callback on the calling thread and returns the callback's result; -1 when no
// callback is registered or the callback throws.
FAPI_API int a_vextvfapi_info_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                        const fapi_core::VexTvFApiEventCommonObject& b,
                                        const fapi_core::VexTvFApiEventCommonObject& c,
                                        const fapi_core::VexTvFApiEventCommonObject& d);

#endif
