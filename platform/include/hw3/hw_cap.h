// SPDX-License-Identifier: Apache-2.0
// Capture of a display window's picture into memory. The family has no Init, and there is one instance.
#ifndef HW3_HW_CAP_H
#define HW3_HW_CAP_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum HW_CAP_Format_e {
    E_HW_CAP_FORMAT_2 = 2,  // 32 bits a pixel: blue, green, red, alpha in memory
    E_HW_CAP_FORMAT_FORCE_U32 = 0x7FFFFFFF
} HW_CAP_Format_e;

typedef struct HW_CAP_OpenParams_t {
    HW_U8 au8Reserved[5];  // must be 0
} HW_CAP_OpenParams_t;
typedef struct HW_CAP_ConnectParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_CAP_ConnectParams_t;
HW_ASSERT_SIZE(HW_CAP_OpenParams_t, 5);
HW_ASSERT_SIZE(HW_CAP_ConnectParams_t, 4);

typedef struct HW_CAP_Description_t {
    HW_U64 u64VirtAddr;      //  0  buffer of the caller
    HW_U32 u32BufferSize;    //  8  bytes
    HW_U32 u32Width;         // 12  pixels
    HW_U32 u32Height;        // 16
    HW_U32 u32Format;        // 20  HW_CAP_Format_e
    HW_U32 u32Flag;          // 24  1 = with the OSD over the picture, 0 = without
    HW_U32 au32Reserved[3];  // 28  must be 0
} HW_CAP_Description_t;
HW_ASSERT_SIZE(HW_CAP_Description_t, 40);

typedef struct HW_CAP_Result_t {
    HW_U32 u32Width;   //  0  pixels
    HW_U32 u32Height;  //  4
    HW_U32 u32Pitch;   //  8  bytes
    HW_U32 u32Size;    // 12  bytes
} HW_CAP_Result_t;
HW_ASSERT_SIZE(HW_CAP_Result_t, 16);

HW_API HW_Result_t HW_CAP_Open(const HW_CAP_OpenParams_t* pstParams, HW_Handle_t* phCap);
HW_API HW_Result_t HW_CAP_Close(HW_Handle_t hCap);

// hDisp: an open window of HW_DISP.
HW_API HW_Result_t HW_CAP_ConnectInput(HW_Handle_t hCap, HW_Handle_t hDisp, const HW_CAP_ConnectParams_t* pstParams);
HW_API HW_Result_t HW_CAP_DisconnectInput(HW_Handle_t hCap, HW_Handle_t hDisp);

// HW_ERR_FAILED without a connected window, HW_ERR_LIMITION when the buffer is smaller than the picture.
HW_API HW_Result_t HW_CAP_CaptureOne(HW_Handle_t hCap, const HW_CAP_Description_t* pstDescription,
                                     HW_CAP_Result_t* pstResult);

#ifdef __cplusplus
}
#endif

#endif
