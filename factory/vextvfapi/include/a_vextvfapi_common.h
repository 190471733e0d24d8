// SPDX-License-Identifier: Apache-2.0
// Frame of the factory API: factory-mode gate, version, translation of middleware codes, byte decoders.
#ifndef A_VEXTVFAPI_COMMON_H
#define A_VEXTVFAPI_COMMON_H

#include "fapi_core.h"

// Tells whether the set is in factory mode, which is whether /vendor/factory/bin/factory_svc existed when
// a_vextvfapi_sys_init last ran. 0 in factory mode; -5 otherwise, and always before the first a_vextvfapi_sys_init.
// The library's operations do not ask for it: the gate is the host's to close.
FAPI_API int a_vextvfapi_common_get_fapi_status();

// Writes the library's version ("v1.0.0.13") to `buf`, which holds `len` bytes, and fills the rest of it with zeros.
// -2 when `buf` is null or `len` below 10; `buf` is then untouched.
FAPI_API int a_vextvfapi_common_get_fapi_version(char* buf, unsigned int len);

// The status that stands for a middleware result code, with the code's meaning in the log: 0 for 0, -6 for 5
// (not supported), -3 for 6 (not implemented), -2 for 8 (invalid parameter), -4 for 0xA (memory), else -1.
FAPI_API int a_vextvfapi_common_hw_err_msg(unsigned int code);

// --- For the library's own modules -----------------------------------------------------------------------------------

// Reads the debug switch and the factory-mode marker. Always 0; a repeated call reads both again.
FAPI_API int _a_vextvfapi_common_init();

// Returns 1 when the debug switch file exists, else 0. Changes nothing.
FAPI_API int _a_vextvfapi_common_init_debug_level();

// Big-endian decoders of the host's serialised records: four, two, one and one bytes at `p`. Return the value; with a
// null `p` -1, 0xFFFF, 0xFF and 0xFF, which cannot be told from decoded values. _bytes_to_bool does not normalise.
FAPI_API int _bytes_to_int(signed char* p);
FAPI_API unsigned short _bytes_to_short(signed char* p);
FAPI_API unsigned char _bytes_to_bool(signed char* p);
FAPI_API unsigned char _bytes_to_one_byte_enum(signed char* p);

#endif
