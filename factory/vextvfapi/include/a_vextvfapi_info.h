// SPDX-License-Identifier: Apache-2.0
// Information module: parameters of the platform's INI files.
#ifndef A_VEXTVFAPI_INFO_H
#define A_VEXTVFAPI_INFO_H

#include "fapi_core.h"

// --- Start-up --------------------------------------------------------------------------------------------------------

// Do nothing. Return 0.
FAPI_API int a_vextvfapi_info_init();
FAPI_API int a_vextvfapi_info_deinit();

// --- INI parameters --------------------------------------------------------------------------------------------------
// Any thread. Each call opens the file, reads or writes it, and closes it: of two calls that write one file at the same
// time the middleware may keep one alone. Needs a_vextvfapi_sys_init.

// Reads a parameter.
// [in]  path  the INI file
// [in]  key   "section:key"
// [out] data  `size` bytes: the value, a NUL, and zeros
//  0  done; contract: also for a missing key, which leaves `data` as it was: clear it first
// -1  value and NUL do not fit (`data` is all zeros); the file could not be closed (`data` holds the value)
// -2  null, which for `data` is checked only when there is a value
// or a status of a_vextvfapi_common_hw_err_msg when the file cannot be opened, or not closed after a missing key
FAPI_API int a_vextvfapi_info_get_ini_para(const unsigned char* path, const unsigned char* key, unsigned char* data,
                                           unsigned int size);

// Writes a parameter and then flushes all file systems.
// [in] path  the INI file, which must exist
// [in] key   "section:key"
// [in] data  the value, a text
//  0  done
// -1  the middleware refuses
// -2  null
FAPI_API int a_vextvfapi_info_set_ini_para(const unsigned char* path, const unsigned char* key,
                                           const unsigned char* data);

// --- Events ----------------------------------------------------------------------------------------------------------
// This module raises no event of its own; fapi_core.h describes the three operations.

FAPI_API int a_vextvfapi_info_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);
FAPI_API int a_vextvfapi_info_unreg_callback();
FAPI_API int a_vextvfapi_info_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                        const fapi_core::VexTvFApiEventCommonObject& b,
                                        const fapi_core::VexTvFApiEventCommonObject& c,
                                        const fapi_core::VexTvFApiEventCommonObject& d);

#endif
