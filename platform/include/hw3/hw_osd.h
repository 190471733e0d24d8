// SPDX-License-Identifier: Apache-2.0
// On-screen graphics: layers, the windows on them, and the surfaces that windows show.
#ifndef HW3_HW_OSD_H
#define HW3_HW_OSD_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum HW_OSD_ColorFormat_e {
    E_HW_OSD_COLOR_ARGB8888 = 8,  // memory order blue, green, red, alpha
    E_HW_OSD_COLOR_CAPTURE = 17,  // 4 bytes a pixel
    E_HW_OSD_COLOR_FORCE_U32 = 0x7FFFFFFF
} HW_OSD_ColorFormat_e;

typedef enum HW_OSD_SurfaceCap_e {
    E_HW_OSD_SURFACE_CAP_ADDR_ALIGN = 0,   // bytes, a power of two
    E_HW_OSD_SURFACE_CAP_PITCH_ALIGN = 1,  // bytes, a power of two
    E_HW_OSD_SURFACE_CAP_FORCE_U32 = 0x7FFFFFFF
} HW_OSD_SurfaceCap_e;

typedef enum HW_OSD_MemKind_e {
    E_HW_OSD_MEM_VIRTUAL = 1,
    E_HW_OSD_MEM_PHYSICAL = 2,
    E_HW_OSD_MEM_FORCE_U32 = 0x7FFFFFFF
} HW_OSD_MemKind_e;

typedef struct HW_OSD_InitParams_t {
    HW_U32 u32Reserved;    //  0  must be 0
    HW_U32 u32SurfaceMax;  //  4  always 64
} HW_OSD_InitParams_t;
HW_ASSERT_SIZE(HW_OSD_InitParams_t, 8);

typedef struct HW_OSD_LayerAttr_t {
    HW_U32 u32LayerId;    //  0
    HW_U32 u32Flags;      //  4  always 7
    HW_U32 u32X;          //  8  display rectangle, pixels
    HW_U32 u32Y;          // 12
    HW_U32 u32Width;      // 16
    HW_U32 u32Height;     // 20
    HW_U32 u32SrcWidth;   // 24  source size, pixels
    HW_U32 u32SrcHeight;  // 28
} HW_OSD_LayerAttr_t;
HW_ASSERT_SIZE(HW_OSD_LayerAttr_t, 32);

typedef struct HW_OSD_WindowAttr_t {
    HW_Handle_t hLayer;      //  0
    HW_U32 u32X;             //  4  rectangle on the layer, pixels
    HW_U32 u32Y;             //  8
    HW_U32 u32Width;         // 12
    HW_U32 u32Height;        // 16
    HW_U8 u8Flag;            // 20  always 1
    HW_U32 u32ColorFormat;   // 24  HW_OSD_ColorFormat_e
    HW_U32 u32BufferMode;    // 28  always 2
    HW_U32 u32SrcWidth;      // 32  source size, pixels
    HW_U32 u32SrcHeight;     // 36
    HW_U32 au32Reserved[4];  // 40  must be 0
} HW_OSD_WindowAttr_t;
HW_ASSERT_SIZE(HW_OSD_WindowAttr_t, 56);

typedef struct HW_OSD_SurfaceAttr_t {
    HW_U32 u32Width;        //  0  pixels
    HW_U32 u32Height;       //  4
    HW_U32 u32Pitch;        //  8  bytes, aligned as HW_OSD_SurfaceQueryCapability says
    HW_U32 u32ColorFormat;  // 12  HW_OSD_ColorFormat_e
    HW_U32 u32Reserved;     // 16  must be 0
    HW_U32 u32MemKind;      // 20  HW_OSD_MemKind_e, of the address
    HW_U64 u64Address;      // 24  memory owned by the caller, for as long as the surface lives; aligned alike
    HW_U64 u64Reserved;     // 32  must be 0
} HW_OSD_SurfaceAttr_t;
HW_ASSERT_SIZE(HW_OSD_SurfaceAttr_t, 40);

typedef struct HW_OSD_ColorFormatInfo_t {
    HW_U32 eColorFormat;  //  0  HW_OSD_ColorFormat_e
    HW_U8 u8PixelByte;    //  4  bytes a pixel
} HW_OSD_ColorFormatInfo_t;
HW_ASSERT_SIZE(HW_OSD_ColorFormatInfo_t, 8);

typedef struct HW_OSD_ColorMatrix_t {
    HW_U8 u8Enable;        //  0
    HW_U8 u8Pad;           //  1
    HW_U16 u16Hue;         //  2
    HW_U16 u16Saturation;  //  4
    HW_U16 u16Contrast;    //  6
    HW_U16 u16Brightness;  //  8
    HW_U16 u16RedGain;     // 10
    HW_U16 u16GreenGain;   // 12
    HW_U16 u16BlueGain;    // 14
    HW_U32 u32Reserved;    // 16  must be 0
} HW_OSD_ColorMatrix_t;
HW_ASSERT_SIZE(HW_OSD_ColorMatrix_t, 20);

// Not demanded by the functions below.
HW_API HW_Result_t HW_OSD_Init(const HW_OSD_InitParams_t* pstParams);

// ps32LayerId: address of the layer's number. The layer may be another user's, and is then not to be destroyed.
HW_API HW_Result_t HW_OSD_GetLayerHandle(const HW_S32* ps32LayerId, HW_Handle_t* phLayer);

// A new layer is hidden.
HW_API HW_Result_t HW_OSD_LayerCreate(const HW_OSD_LayerAttr_t* pstAttr, HW_Handle_t* phLayer);

// Destroys the layer's windows too.
HW_API HW_Result_t HW_OSD_LayerDestroy(HW_Handle_t hLayer);

HW_API HW_Result_t HW_OSD_LayerShow(HW_Handle_t hLayer);
HW_API HW_Result_t HW_OSD_LayerHide(HW_Handle_t hLayer);
HW_API HW_Result_t HW_OSD_LayerGetSize(HW_Handle_t hLayer, HW_U32* pu32Width, HW_U32* pu32Height);
HW_API HW_Result_t HW_OSD_LayerQueryWindowHandle(HW_Handle_t hLayer, HW_Handle_t* phWindow);
HW_API HW_Result_t HW_OSD_LayerSetColorMatrix(HW_Handle_t hLayer, const HW_OSD_ColorMatrix_t* pstMatrix);
HW_API HW_Result_t HW_OSD_WindowCreate(const HW_OSD_WindowAttr_t* pstAttr, HW_Handle_t* phWindow);
HW_API HW_Result_t HW_OSD_WindowSetZOrder(HW_Handle_t hWindow, HW_U32 u32ZOrder);
HW_API HW_Result_t HW_OSD_WindowShow(HW_Handle_t hWindow);
HW_API HW_Result_t HW_OSD_WindowHide(HW_Handle_t hWindow);

// The window shows the surface until another one is flipped onto it or the surface is destroyed.
HW_API HW_Result_t HW_OSD_WindowFlipByExternSurface(HW_Handle_t hWindow, HW_Handle_t hSurface);
HW_API HW_Result_t HW_OSD_WindowGetSurface(HW_Handle_t hWindow, HW_Handle_t* phSurface);

// u32Capability: HW_OSD_SurfaceCap_e.
HW_API HW_Result_t HW_OSD_SurfaceQueryCapability(HW_U32 u32Capability, HW_U32 u32ColorFormat, HW_U32* pu32Value);

// Address or pitch without alignment, and memory that the process cannot reach, answer HW_ERR_INVALID_PARAMETER. There
// are u32SurfaceMax surfaces at most, those of other users included; one more answers HW_ERR_RESOURCES.
HW_API HW_Result_t HW_OSD_SurfaceCreate(const HW_OSD_SurfaceAttr_t* pstAttr, HW_Handle_t* phSurface);

// Destroys a locked surface too, though its memory may be in use: unlock it first.
HW_API HW_Result_t HW_OSD_SurfaceDestroy(HW_Handle_t hSurface);
HW_API HW_Result_t HW_OSD_SurfaceGetColorFormat(HW_Handle_t hSurface, HW_OSD_ColorFormatInfo_t* pstInfo);

// Gives the addresses of the surface's memory. Locks are counted.
HW_API HW_Result_t HW_OSD_SurfaceLock(HW_Handle_t hSurface, HW_U64* pu64Virt, HW_U64* pu64Phys);
HW_API HW_Result_t HW_OSD_SurfaceUnlock(HW_Handle_t hSurface);
HW_API HW_Result_t HW_OSD_SurfaceGetSize(HW_Handle_t hSurface, HW_U32* pu32Width, HW_U32* pu32Height);

#ifdef __cplusplus
}
#endif

#endif
