// SPDX-License-Identifier: Apache-2.0
// What the sources of the audio module share. A chip operation reads:
//
//     const HW_Handle_t hAout = _a_vextvfapi_aud_open_main_path();
//     if (hAout == HW_HANDLE_NONE) { return -1; }
//     ...
//     return _a_vextvfapi_aud_send(hAout, ...);
//
// Some have another message for a missing handle, and open the paths themselves. Log lines show the name of the
// operation that calls.
#ifndef A_VEXTVFAPI_AUD_INTERNAL_H
#define A_VEXTVFAPI_AUD_INTERNAL_H

#include "a_vextvfapi_aud.h"
#include "hw3/hw_aout.h"

constexpr unsigned int kMainPath = 0;

// Returns the remembered handle of a path below HW_AOUT_PATH_COUNT; 0: none.
HW_Handle_t _a_vextvfapi_aud_path(unsigned int u32Path);

// Gets hold of the paths, and of the main one's handle. 0, with the message that most operations have for it, when
// there is none.
HW_Handle_t _a_vextvfapi_aud_open_main_path(const char* pszCaller = __builtin_FUNCTION());

// Zeroes the parameters that a_vextvfapi_aud_adv_snd_set_dolby_dap_param keeps.
void _a_vextvfapi_aud_forget_dolby_dap_param();

// Closes what was opened, after a call that succeeded. 0, or -1 with a message.
int _a_vextvfapi_aud_finish(const char* pszCaller = __builtin_FUNCTION());

// Sends an attribute, which is the last step of most operations, and finishes after a success. Nothing is closed after
// a failure.
int _a_vextvfapi_aud_send(HW_Handle_t hAout, HW_U32 u32Attribute, const void* pValue,
                          const char* pszCaller = __builtin_FUNCTION());

#endif
