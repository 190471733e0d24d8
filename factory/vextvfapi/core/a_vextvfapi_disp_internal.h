// SPDX-License-Identifier: Apache-2.0
// What operations of all modules need of the display module.
#ifndef A_VEXTVFAPI_DISP_INTERNAL_H
#define A_VEXTVFAPI_DISP_INTERNAL_H

#include "a_vextvfapi_disp.h"
#include "base/fapi_handle_lease.h"
#include "hw3/hw_disp.h"

// --- The current window's handle, for one operation ------------------------------------------------------------------

namespace fapi {

struct DispFamily {
    static constexpr auto close = HW_DISP_Close;
};
using DispLease = HandleLease<DispFamily>;

// Gets hold of the current window. The handle is 0 when it cannot be had.
inline HW_Handle_t obtainDisp(DispLease& lease) {
    HW_Handle_t hDisp = HW_HANDLE_NONE;
    const bool bOpened = _a_vextvfapi_disp_get_disp_handle(&hDisp);
    lease.adopt(hDisp, bOpened);
    return hDisp;
}

}  // namespace fapi

// --- State of the module ---------------------------------------------------------------------------------------------

// Returns the number that was switched to, which need not be that of a window.
unsigned int _a_vextvfapi_disp_current_window();

// Returns the middleware's name of a window, or null.
const char* _a_vextvfapi_disp_window_name(unsigned int index);

// The handle of the last range or overscan operation. Panel operations hand it to the display output's close.
extern HW_Handle_t _a_vextvfapi_disp_hDisp;

#endif
