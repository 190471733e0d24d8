// SPDX-License-Identifier: Apache-2.0
// Information module: parameters of the platform's INI files.
#ifndef A_VEXTVFAPI_INFO_H
#define A_VEXTVFAPI_INFO_H

#include "fapi_core.h"

// --- Start-up --------------------------------------------------------------------------------------------------------

// Do nothing and return 0.
FAPI_API int a_vextvfapi_info_init();
FAPI_API int a_vextvfapi_info_deinit();

// --- INI parameters --------------------------------------------------------------------------------------------------
// Any thread. Each call opens the file, reads or writes it, and closes it: of two calls that write one file at the same
// time the middleware may keep one alone. Needs a_vextvfapi_sys_init.

// Reads the value of `key` ("section:key") in the INI file `path` into the `size` bytes of `data`, terminated and
// filled up with zeros.
// 0; a missing key is 0, too, and leaves `data` as it was, so clear it first. -1 when the value and its terminator do
// not fit (`data` is all zeros then), or the file cannot be closed afterwards (`data` holds the value); -2 for null,
// which for `data` is seen only when there is a value; any status of a_vextvfapi_common_hw_err_msg when the file cannot
// be opened, or not closed after a missing key.
FAPI_API int a_vextvfapi_info_get_ini_para(const unsigned char* path, const unsigned char* key, unsigned char* data,
                                           unsigned int size);

// Writes the terminated text `data` under `key` into the INI file `path`, which must exist, and flushes all file
// systems. 0; -1 when the middleware refuses; -2 for null.
FAPI_API int a_vextvfapi_info_set_ini_para(const unsigned char* path, const unsigned char* key,
                                           const unsigned char* data);

// --- Events ----------------------------------------------------------------------------------------------------------

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
