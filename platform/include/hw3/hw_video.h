// SPDX-License-Identifier: Apache-2.0
// Video paths. Their handles come from HW_DISP_GetConnected only.
#ifndef HW3_HW_VIDEO_H
#define HW3_HW_VIDEO_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum HW_VIDEO_AttrType_e {
    E_HW_VIDEO_ATTR_INFO = 0x104,  // get: HW_VIDEO_Info_t
    E_HW_VIDEO_ATTR_FORCE_U32 = 0x7FFFFFFF
} HW_VIDEO_AttrType_e;

// Not in the order of HW_EXTIN_Timing_t: the rate stands before the interlace byte.
typedef struct HW_VIDEO_Info_t {
    HW_U16 u16Width;      //  0
    HW_U16 u16Height;     //  2
    HW_U32 u32FrameRate;  //  4  1/1000 Hz
    HW_U8 u8Interlaced;   //  8  1 = interlaced
} HW_VIDEO_Info_t;
HW_ASSERT_SIZE(HW_VIDEO_Info_t, 12);

HW_API HW_Result_t HW_VIDEO_GetAttr(HW_Handle_t hVideo, HW_U32 u32Attr, const void* pInput, void* pOutput);

#ifdef __cplusplus
}
#endif

#endif
