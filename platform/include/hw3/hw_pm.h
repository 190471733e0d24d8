// SPDX-License-Identifier: Apache-2.0
// The power-management block: real-time clock and front LEDs.
#ifndef HW3_HW_PM_H
#define HW3_HW_PM_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum HW_PM_ParamType_e {
    E_HW_PM_PARAM_LED_CONTROL = 260,  // set: HW_PM_LedControl_t
    E_HW_PM_PARAM_FORCE_U32 = 0x7FFFFFFF
} HW_PM_ParamType_e;

typedef struct HW_PM_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_PM_InitParams_t;
typedef struct HW_PM_HandleParams_t {
    HW_U32 u32Index;  // 0, the only instance
} HW_PM_HandleParams_t;
typedef struct HW_PM_OpenParams_t {
    HW_U32 u32Index;  // 0, the only instance
} HW_PM_OpenParams_t;
HW_ASSERT_SIZE(HW_PM_InitParams_t, 4);
HW_ASSERT_SIZE(HW_PM_HandleParams_t, 4);
HW_ASSERT_SIZE(HW_PM_OpenParams_t, 4);

typedef struct HW_PM_LedControl_t {
    HW_U8 au8Colour[12];  //  0  four red-green-blue triplets, one per LED
    HW_U8 u8LedCount;     // 12  always 4
} HW_PM_LedControl_t;
HW_ASSERT_SIZE(HW_PM_LedControl_t, 13);

// Not demanded by the functions below: the clock is read without it.
HW_API HW_Result_t HW_PM_Init(const HW_PM_InitParams_t* pstParams);

HW_API HW_Result_t HW_PM_GetHandle(const HW_PM_HandleParams_t* pstParams, HW_Handle_t* phPm);
HW_API HW_Result_t HW_PM_Open(const HW_PM_OpenParams_t* pstParams, HW_Handle_t* phPm);
HW_API HW_Result_t HW_PM_Close(HW_Handle_t hPm);

// The count of the real-time clock, in seconds.
HW_API HW_Result_t HW_PM_GetRtcTime(HW_Handle_t hPm, HW_U32* pu32Seconds);

HW_API HW_Result_t HW_PM_SetAttr(HW_Handle_t hPm, HW_U32 u32ParamType, const void* pParam);

#ifdef __cplusplus
}
#endif

#endif
