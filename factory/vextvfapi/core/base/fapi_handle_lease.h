// SPDX-License-Identifier: Apache-2.0
// The use of one middleware handle by one operation: shared when it is open, else opened and closed here.
#ifndef FAPI_HANDLE_LEASE_H
#define FAPI_HANDLE_LEASE_H

#include "hw3/hw_types.h"

namespace fapi {

// Family names the calls of a middleware family:
//
//     struct FlashFamily {
//         static constexpr auto getHandle = HW_FLASH_GetHandle;
//         static constexpr auto open = HW_FLASH_Open;
//         static constexpr auto close = HW_FLASH_Close;
//     };
//
// Most operations log between find() and open(). The handle changes only by a call that succeeded. An operation calls
// release() where its close has a status or a message; the destructor closes on every other path.
//
// A lease ends with its operation. Handles that outlive the operation are kept by:
//
//     aud, inpsrc_adc, sys_chip         a failed operation leaves its handle to the next one (contract)
//     disp, disp_capture, disp_panel    windows that other operations close, or none (contract)
//     disptst_canvas                    layer, window and surface while the canvas is up
//     inpsrc_tuner, inpsrc_vd, sys_wdt  handles that are never given back
//     net, prphrl_iic, prphrl_uart      from open, enable or start to close, disable or stop
//     prphrl_led                        shared by operation and cycle thread
//     prphrl_sar                        opened once
template <class Family>
class HandleLease {
public:
    HandleLease() = default;
    ~HandleLease() { release(); }
    HandleLease(const HandleLease&) = delete;
    HandleLease& operator=(const HandleLease&) = delete;

    template <class Query>
    HW_Result_t find(const Query& stQuery) {
        return Family::getHandle(&stQuery, &_hHandle);
    }

    template <class Params>
    HW_Result_t open(const Params& stParams) {
        const HW_Result_t result = Family::open(&stParams, &_hHandle);
        _bOpened = result == HW_OK;
        return result;
    }

    HW_Handle_t handle() const { return _hHandle; }
    bool isOpened() const { return _bOpened; }

    // Closes the handle if it was opened here; HW_OK when there is nothing to close. A handle of 0 is never closed.
    HW_Result_t release() {
        const bool bClose = _bOpened && _hHandle != HW_HANDLE_NONE;
        _bOpened = false;
        return bClose ? Family::close(_hHandle) : HW_OK;
    }

    // Leaves the handle open for a caller that closes it later. True when it was opened here.
    bool keepOpen() {
        const bool bOpened = _bOpened;
        _bOpened = false;
        return bOpened;
    }

private:
    HW_Handle_t _hHandle = HW_HANDLE_NONE;
    bool _bOpened = false;
};

}  // namespace fapi

#endif
