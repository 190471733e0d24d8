// SPDX-License-Identifier: Apache-2.0
// What the middleware's result codes mean to the library.
#ifndef FAPI_HW_RESULT_H
#define FAPI_HW_RESULT_H

#include "hw3/hw_types.h"

namespace fapi {

// Of a family's Init, which the host may repeat: "already initialised" is as good as done.
inline bool isBroughtUp(HW_Result_t result) {
    return result == HW_OK || result == HW_HAS_INITED;
}

}  // namespace fapi

#endif
