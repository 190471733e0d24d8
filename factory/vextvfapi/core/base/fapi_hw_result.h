// SPDX-License-Identifier: Apache-2.0
// The meaning of middleware result codes.
#ifndef FAPI_HW_RESULT_H
#define FAPI_HW_RESULT_H

#include "hw3/hw_types.h"

namespace fapi {

// True for the result of a family's Init that leaves it up: the host may repeat an Init, so "already initialized" is as
// good as done.
inline bool isBroughtUp(HW_Result_t result) {
    return result == HW_OK || result == HW_HAS_INITED;
}

}  // namespace fapi

#endif
