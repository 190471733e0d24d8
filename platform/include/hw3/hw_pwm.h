// SPDX-License-Identifier: Apache-2.0
// Pulse-width modulated outputs.
#ifndef HW3_HW_PWM_H
#define HW3_HW_PWM_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// Set, get: HW_U32.
typedef enum HW_PWM_AttrType_e {
    E_HW_PWM_ATTR_0 = 0,
    E_HW_PWM_ATTR_1 = 1,
    E_HW_PWM_ATTR_8 = 8,
    E_HW_PWM_ATTR_INVALID = 13,
    E_HW_PWM_ATTR_FORCE_U32 = 0x7FFFFFFF
} HW_PWM_AttrType_e;

// Channels 0 to 8 and 10 to 18; 9 and 19 are not used.
typedef enum HW_PWM_Channel_e {
    E_HW_PWM_CHANNEL_0 = 0,
    E_HW_PWM_CHANNEL_8 = 8,
    E_HW_PWM_CHANNEL_10 = 10,
    E_HW_PWM_CHANNEL_18 = 18,
    E_HW_PWM_CHANNEL_INVALID = 20,
    E_HW_PWM_CHANNEL_FORCE_U32 = 0x7FFFFFFF
} HW_PWM_Channel_e;

typedef struct HW_PWM_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_PWM_InitParams_t;
typedef struct HW_PWM_HandleParams_t {
    HW_U32 u32Channel;  // HW_PWM_Channel_e
} HW_PWM_HandleParams_t;
typedef struct HW_PWM_OpenParams_t {
    HW_U32 u32Channel;  // HW_PWM_Channel_e
} HW_PWM_OpenParams_t;
HW_ASSERT_SIZE(HW_PWM_InitParams_t, 4);
HW_ASSERT_SIZE(HW_PWM_HandleParams_t, 4);
HW_ASSERT_SIZE(HW_PWM_OpenParams_t, 4);

HW_API HW_Result_t HW_PWM_Init(const HW_PWM_InitParams_t* pstParams);
HW_API HW_Result_t HW_PWM_GetHandle(const HW_PWM_HandleParams_t* pstParams, HW_Handle_t* phPwm);
HW_API HW_Result_t HW_PWM_Open(const HW_PWM_OpenParams_t* pstParams, HW_Handle_t* phPwm);
HW_API HW_Result_t HW_PWM_Close(HW_Handle_t hPwm);
HW_API HW_Result_t HW_PWM_SetAttr(HW_Handle_t hPwm, HW_U32 u32Attr, const void* pParam);
HW_API HW_Result_t HW_PWM_GetAttr(HW_Handle_t hPwm, HW_U32 u32Attr, const void* pInput, void* pOutput);

#ifdef __cplusplus
}
#endif

#endif
