// SPDX-License-Identifier: Apache-2.0
// The audio system as a whole. Sound output is in hw_aout.h.
#ifndef HW3_HW_AUDIO_H
#define HW3_HW_AUDIO_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct HW_AUDIO_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_AUDIO_InitParams_t;
HW_ASSERT_SIZE(HW_AUDIO_InitParams_t, 4);

HW_API HW_Result_t HW_AUDIO_Init(const HW_AUDIO_InitParams_t* pstParams);
HW_API HW_Result_t HW_AUDIO_DeInit(void);

#ifdef __cplusplus
}
#endif

#endif
