// SPDX-License-Identifier: Apache-2.0
// What the sources of the system module share.
#ifndef A_VEXTVFAPI_SYS_INTERNAL_H
#define A_VEXTVFAPI_SYS_INTERNAL_H

#include "a_vextvfapi_sys.h"
#include "base/fapi_handle_lease.h"
#include "hw3/hw_flash.h"

namespace fapi::sys {

struct FlashFamily {
    static constexpr auto getHandle = HW_FLASH_GetHandle;
    static constexpr auto open = HW_FLASH_Open;
    static constexpr auto close = HW_FLASH_Close;
};
using FlashLease = fapi::HandleLease<FlashFamily>;

// Finds the flash open, or opens it. False, with a message, without a handle; a handle of 0 counts as none.
bool leaseFlash(FlashLease& lease, HW_FLASH_Type_e type, const char* pszCaller = __builtin_FUNCTION());

// Closes the flash if the lease opened it. Returns the status, or -1, with a message, when the close fails.
int closeFlash(FlashLease& lease, int s32Status, const char* pszCaller = __builtin_FUNCTION());

}  // namespace fapi::sys

#endif
