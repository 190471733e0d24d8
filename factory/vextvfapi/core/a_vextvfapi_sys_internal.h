// SPDX-License-Identifier: Apache-2.0
// What the sources of the system module share.
#ifndef A_VEXTVFAPI_SYS_INTERNAL_H
#define A_VEXTVFAPI_SYS_INTERNAL_H

#include "a_vextvfapi_sys.h"
#include "base/fapi_handle_lease.h"
#include "hw3/hw_flash.h"

struct FlashFamily {
    static constexpr auto getHandle = HW_FLASH_GetHandle;
    static constexpr auto open = HW_FLASH_Open;
    static constexpr auto close = HW_FLASH_Close;
};
using FlashLease = fapi::HandleLease<FlashFamily>;

// A shared or opened handle. One of 0 is as good as none, and there is nothing to close then.
bool obtainFlash(FlashLease& lease, HW_FLASH_Type_e type, const char* pszCaller = __builtin_FUNCTION());

// Closes what was opened here; the status, or -1 when that fails.
int closeFlash(FlashLease& lease, int s32Status, const char* pszCaller = __builtin_FUNCTION());

#endif
