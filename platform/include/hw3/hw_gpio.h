// SPDX-License-Identifier: Apache-2.0
// General-purpose pads. The family has no Init.
#ifndef HW3_HW_GPIO_H
#define HW3_HW_GPIO_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct HW_GPIO_HandleParams_t {
    HW_U32 u32PadNum;
} HW_GPIO_HandleParams_t;
typedef struct HW_GPIO_OpenParams_t {
    HW_U32 u32PadNum;
} HW_GPIO_OpenParams_t;
HW_ASSERT_SIZE(HW_GPIO_HandleParams_t, 4);
HW_ASSERT_SIZE(HW_GPIO_OpenParams_t, 4);

HW_API HW_Result_t HW_GPIO_GetHandle(const HW_GPIO_HandleParams_t* pstParams, HW_Handle_t* phGpio);
HW_API HW_Result_t HW_GPIO_Open(const HW_GPIO_OpenParams_t* pstParams, HW_Handle_t* phGpio);
HW_API HW_Result_t HW_GPIO_Close(HW_Handle_t hGpio);

// Makes the pad an output and drives it. A level is 0 or 1, as wired (not inverted).
HW_API HW_Result_t HW_GPIO_SetOutput(HW_Handle_t hGpio, HW_U32 u32Level);

// *pu8Level: 0 or 1, as wired; of an output, what is driven. *pu8Inverted: 1 when the board inverts the pad.
HW_API HW_Result_t HW_GPIO_GetInput(HW_Handle_t hGpio, HW_U8* pu8Level, HW_U8* pu8Inverted);

#ifdef __cplusplus
}
#endif

#endif
