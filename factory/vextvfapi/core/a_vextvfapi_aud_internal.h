// SPDX-License-Identifier: Apache-2.0
// What the sources of the audio module share.
#ifndef A_VEXTVFAPI_AUD_INTERNAL_H
#define A_VEXTVFAPI_AUD_INTERNAL_H

#include "a_vextvfapi_aud.h"
#include "hw3/hw_aout.h"

// Most operations on the chip read:
//
//     const HW_Handle_t hAout = fapi::aud::openMainPath();
//     if (hAout == HW_HANDLE_NONE) { return -1; }
//     ...
//     return fapi::aud::send(hAout, ...);
//
// Some have another message for a missing handle, and open the paths themselves. Log lines show the name of the
// operation that calls.
namespace fapi::aud {

constexpr unsigned int kMainPath = 0;

// Returns the remembered handle of a path below HW_AOUT_PATH_COUNT; 0: none.
HW_Handle_t pathHandle(unsigned int u32Path);

// Obtains the paths and returns the main one's handle; 0, with the message that most operations have for it, if none.
HW_Handle_t openMainPath(const char* pszCaller = __builtin_FUNCTION());

// Zeroes the parameters that a_vextvfapi_aud_adv_snd_set_dolby_dap_param keeps.
void forgetDolbyDapParam();

// Closes the paths that this module has opened. Returns 0, or -1 with a message.
int finish(const char* pszCaller = __builtin_FUNCTION());

// Sends an attribute, the last step of most operations, and finishes after a success.
int send(HW_Handle_t hAout, HW_U32 u32Attribute, const void* pValue, const char* pszCaller = __builtin_FUNCTION());

}  // namespace fapi::aud

#endif
