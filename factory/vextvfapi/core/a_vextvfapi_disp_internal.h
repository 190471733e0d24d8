// SPDX-License-Identifier: Apache-2.0
// What other sources need of the display module.
#ifndef A_VEXTVFAPI_DISP_INTERNAL_H
#define A_VEXTVFAPI_DISP_INTERNAL_H

#include "a_vextvfapi_disp.h"
#include "base/fapi_handle_lease.h"
#include "hw3/hw_disp.h"

namespace fapi::disp {

// --- A window's handle, for one operation ----------------------------------------------------------------------------

struct WindowName {
    char acText[HW_DISP_WINDOW_NAME_SIZE];
};

struct DispFamily {
    static HW_Result_t getHandle(const WindowName* pstName, HW_Handle_t* phDisp) {
        return HW_DISP_GetHandle(pstName->acText, phDisp);
    }
    static constexpr auto open = HW_DISP_Open;
    static constexpr auto close = HW_DISP_Close;
};
using DispLease = HandleLease<DispFamily>;

// Finds the current window, or window `index`, open, or opens it. Returns the handle, 0 when it is not available.
HW_Handle_t leaseDisp(DispLease& lease);
HW_Handle_t leaseDisp(DispLease& lease, unsigned int index);

// --- State of the module ---------------------------------------------------------------------------------------------

// Returns the number that was switched to, which need not be that of a window.
unsigned int currentWindow();

// Returns the middleware's name of a window, or null.
const char* windowName(unsigned int index);

// The handle of the last range or overscan operation. Panel operations hand it to the display output's close.
extern HW_Handle_t hDisp;

}  // namespace fapi::disp

#endif
