// SPDX-License-Identifier: Apache-2.0
// Frame of the factory API: factory-mode gate, version, translation of middleware codes, byte decoders.
#ifndef A_VEXTVFAPI_COMMON_H
#define A_VEXTVFAPI_COMMON_H

#include "fapi_core.h"

// Returns whether the set is in factory mode: whether /vendor/factory/bin/factory_svc existed when a_vextvfapi_sys_init
// last ran. The library's operations do not ask for it: the host keeps the gate.
//  0  factory mode
// -5  not in factory mode, or a_vextvfapi_sys_init has not run
FAPI_API int a_vextvfapi_common_get_fapi_status();

// Reads the library's version, "v1.0.0.13".
// [out] buf  `len` bytes, 10 or more, filled up with zeros
//  0  done
// -2  null; `len` below 10 (`buf` is untouched)
FAPI_API int a_vextvfapi_common_get_fapi_version(char* buf, unsigned int len);

// Returns the status that stands for a middleware result code, and logs the code's meaning.
//  0  code 0
// -2  code 8, invalid parameter
// -3  code 6, not implemented
// -4  code 0xA, memory
// -6  code 5, not supported
// -1  any other code
FAPI_API int a_vextvfapi_common_hw_err_msg(unsigned int code);

// --- For the library's own modules -----------------------------------------------------------------------------------

// Reads the debug switch and the factory-mode marker; a repeated call reads both again. Returns 0.
FAPI_API int _a_vextvfapi_common_init();

// Returns 1 when the debug switch file exists, else 0. Changes nothing.
FAPI_API int _a_vextvfapi_common_init_debug_level();

// Decode four, two, one and one big-endian bytes at `p` and return the value. With a null `p` they return -1, 0xFFFF,
// 0xFF and 0xFF, which are values too. _bytes_to_bool returns the byte as it is.
FAPI_API int _bytes_to_int(signed char* p);
FAPI_API unsigned short _bytes_to_short(signed char* p);
FAPI_API unsigned char _bytes_to_bool(signed char* p);
FAPI_API unsigned char _bytes_to_one_byte_enum(signed char* p);

#endif
