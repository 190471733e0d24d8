// SPDX-License-Identifier: Apache-2.0
// HDMI CEC and the audio return channel.
#ifndef HW3_HW_CEC_H
#define HW3_HW_CEC_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// The two outputs differ in width.
typedef enum HW_CEC_AttrType_e {
    E_HW_CEC_ATTR_ENABLE_STATUS = 5,  // get: HW_S8, 1 = enabled
    E_HW_CEC_ATTR_EARC_STATUS = 6,    // get: HW_S32
    E_HW_CEC_ATTR_FORCE_U32 = 0x7FFFFFFF
} HW_CEC_AttrType_e;

typedef struct HW_CEC_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_CEC_InitParams_t;
typedef struct HW_CEC_HandleParams_t {
    HW_U32 u32Index;  // 0, the only instance
} HW_CEC_HandleParams_t;
typedef struct HW_CEC_OpenParams_t {
    HW_U32 u32Index;  // 0, the only instance
} HW_CEC_OpenParams_t;
HW_ASSERT_SIZE(HW_CEC_InitParams_t, 4);
HW_ASSERT_SIZE(HW_CEC_HandleParams_t, 4);
HW_ASSERT_SIZE(HW_CEC_OpenParams_t, 4);

HW_API HW_Result_t HW_CEC_Init(const HW_CEC_InitParams_t* pstParams);
HW_API HW_Result_t HW_CEC_GetHandle(const HW_CEC_HandleParams_t* pstParams, HW_Handle_t* phCec);
HW_API HW_Result_t HW_CEC_Open(const HW_CEC_OpenParams_t* pstParams, HW_Handle_t* phCec);
HW_API HW_Result_t HW_CEC_Close(HW_Handle_t hCec);
HW_API HW_Result_t HW_CEC_Enable(HW_Handle_t hCec);
HW_API HW_Result_t HW_CEC_Disable(HW_Handle_t hCec);
HW_API HW_Result_t HW_CEC_GetAttr(HW_Handle_t hCec, HW_U32 u32Attr, const void* pInput, void* pOutput);

#ifdef __cplusplus
}
#endif

#endif
