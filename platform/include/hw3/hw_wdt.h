// SPDX-License-Identifier: Apache-2.0
// The hardware watchdog.
#ifndef HW3_HW_WDT_H
#define HW3_HW_WDT_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum HW_WDT_AttrType_e {
    E_HW_WDT_ATTR_SET_TIMER_SEC = 0,  // set only: HW_WDT_Timer_t; 0 s stops the watchdog
    E_HW_WDT_ATTR_RUNNING = 5,        // get: HW_U32, 1 = the hardware watchdog runs
    E_HW_WDT_ATTR_REBOOT_BY_WDT = 6,  // get: HW_U32, non-zero = last reboot by watchdog
    E_HW_WDT_ATTR_REBOOT_ACK = 7,     // get: HW_U32, reading acknowledges attribute 6
    E_HW_WDT_ATTR_FORCE_U32 = 0x7FFFFFFF
} HW_WDT_AttrType_e;

typedef struct HW_WDT_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_WDT_InitParams_t;
typedef struct HW_WDT_HandleParams_t {
    HW_U32 u32Index;  // 0, the only instance
} HW_WDT_HandleParams_t;
typedef struct HW_WDT_Timer_t {
    HW_U32 u32Seconds;  // 0 stops the watchdog
} HW_WDT_Timer_t;
HW_ASSERT_SIZE(HW_WDT_InitParams_t, 4);
HW_ASSERT_SIZE(HW_WDT_HandleParams_t, 4);
HW_ASSERT_SIZE(HW_WDT_Timer_t, 4);

// The handle exists from here on and is never released: there is no Open and no Close.
HW_API HW_Result_t HW_WDT_Init(const HW_WDT_InitParams_t* pstParams);

// HW_ERR_FAILED on a set without a watchdog.
HW_API HW_Result_t HW_WDT_GetHandle(const HW_WDT_HandleParams_t* pstParams, HW_Handle_t* phWdt);

HW_API HW_Result_t HW_WDT_SetAttr(HW_Handle_t hWdt, HW_U32 u32Attr, const void* pParam);
HW_API HW_Result_t HW_WDT_GetAttr(HW_Handle_t hWdt, HW_U32 u32Attr, const void* pInput, void* pOutput);

#ifdef __cplusplus
}
#endif

#endif
