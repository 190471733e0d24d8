// SPDX-License-Identifier: Apache-2.0
// The infrared receiver.
#ifndef HW3_HW_IR_H
#define HW3_HW_IR_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct HW_IR_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_IR_InitParams_t;
HW_ASSERT_SIZE(HW_IR_InitParams_t, 4);

// Null means defaults, and so does a zero-filled record.
HW_API HW_Result_t HW_IR_Init(const HW_IR_InitParams_t* pstParams);

#ifdef __cplusplus
}
#endif

#endif
