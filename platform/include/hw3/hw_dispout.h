// SPDX-License-Identifier: Apache-2.0
// Display output: the panel and the chips beside it.
#ifndef HW3_HW_DISPOUT_H
#define HW3_HW_DISPOUT_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// 0, 1, 2, 3, 6, 9 and 11 take a HW_U32.
typedef enum HW_DISPOUT_PanelAttr_e {
    E_HW_DISPOUT_PANEL_0 = 0,
    E_HW_DISPOUT_PANEL_1 = 1,
    E_HW_DISPOUT_PANEL_2 = 2,
    E_HW_DISPOUT_PANEL_3 = 3,
    E_HW_DISPOUT_PANEL_PWM_RANGE = 4,  // get: HW_DISPOUT_PwmRange_t
    E_HW_DISPOUT_PANEL_LVDS_SSC = 5,   // set, get: HW_DISPOUT_LvdsSsc_t
    E_HW_DISPOUT_PANEL_6 = 6,
    E_HW_DISPOUT_PANEL_7 = 7,  // set: HW_DISPOUT_Panel7_t
    E_HW_DISPOUT_PANEL_8 = 8,  // set: HW_DISPOUT_Panel8_t
    E_HW_DISPOUT_PANEL_9 = 9,
    E_HW_DISPOUT_PANEL_11 = 11,
    E_HW_DISPOUT_PANEL_FRC_DEVICE = 15,  // get: HW_DISPOUT_FrcDevice_t
    E_HW_DISPOUT_PANEL_FRC_STATUS = 16,  // get: HW_U32
    E_HW_DISPOUT_PANEL_TCON_INFO = 17,   // get: HW_DISPOUT_TconInfo_t
    E_HW_DISPOUT_PANEL_FORCE_U32 = 0x7FFFFFFF
} HW_DISPOUT_PanelAttr_e;

typedef struct HW_DISPOUT_InitParams_t {
    HW_U8 u8Reserved;  // must be 0
} HW_DISPOUT_InitParams_t;
typedef struct HW_DISPOUT_HandleParams_t {
    HW_U32 u32Index;  // 0, the only instance
} HW_DISPOUT_HandleParams_t;
typedef struct HW_DISPOUT_OpenParams_t {
    HW_U32 u32Index;  // 0, the only instance
} HW_DISPOUT_OpenParams_t;
HW_ASSERT_SIZE(HW_DISPOUT_InitParams_t, 1);
HW_ASSERT_SIZE(HW_DISPOUT_HandleParams_t, 4);
HW_ASSERT_SIZE(HW_DISPOUT_OpenParams_t, 4);

typedef struct HW_DISPOUT_PwmRange_t {
    HW_U32 u32PwmMinVal;  //  0
    HW_U32 u32PwmMaxVal;  //  4
} HW_DISPOUT_PwmRange_t;
// Spread spectrum of the LVDS link.
typedef struct HW_DISPOUT_LvdsSsc_t {
    HW_U8 u8Enable;     //  0
    HW_U16 u16SscSpan;  //  2
    HW_U16 u16SscStep;  //  4
} HW_DISPOUT_LvdsSsc_t;
typedef struct HW_DISPOUT_Panel7_t {
    HW_U8 u8A;  //  0
    HW_U8 u8B;  //  1
} HW_DISPOUT_Panel7_t;
typedef struct HW_DISPOUT_Panel8_t {
    HW_U8 u8A;    //  0
    HW_U16 u16B;  //  2
    HW_U16 u16C;  //  4
    HW_U16 u16D;  //  6
} HW_DISPOUT_Panel8_t;
// The external frame-rate converter.
typedef struct HW_DISPOUT_FrcDevice_t {
    HW_U32 eExtFrcModel;  //  0
    HW_U32 u32FwVer;      //  4
} HW_DISPOUT_FrcDevice_t;
HW_ASSERT_SIZE(HW_DISPOUT_PwmRange_t, 8);
HW_ASSERT_SIZE(HW_DISPOUT_LvdsSsc_t, 6);
HW_ASSERT_SIZE(HW_DISPOUT_Panel7_t, 2);
HW_ASSERT_SIZE(HW_DISPOUT_Panel8_t, 8);
HW_ASSERT_SIZE(HW_DISPOUT_FrcDevice_t, 8);

// The timing controller's identity.
typedef struct HW_DISPOUT_TconInfo_t {
    HW_U8 u8TconProjectName[16];   //  0  NUL only when shorter than 16
    HW_U8 u8TconCustomerName[16];  // 16  NUL only when shorter than 16
    HW_U8 u8TconData[10];          // 32  opaque
} HW_DISPOUT_TconInfo_t;
HW_ASSERT_SIZE(HW_DISPOUT_TconInfo_t, 42);

HW_API HW_Result_t HW_DISPOUT_Init(const HW_DISPOUT_InitParams_t* pstParams);
HW_API HW_Result_t HW_DISPOUT_GetHandle(const HW_DISPOUT_HandleParams_t* pstParams, HW_Handle_t* phDispout);
HW_API HW_Result_t HW_DISPOUT_Open(const HW_DISPOUT_OpenParams_t* pstParams, HW_Handle_t* phDispout);

// A handle of HW_DISP answers HW_ERR_INVALID_HANDLE, and what it names stays open.
HW_API HW_Result_t HW_DISPOUT_Close(HW_Handle_t hDispout);

HW_API HW_Result_t HW_DISPOUT_PanelSetAttr(HW_Handle_t hDispout, HW_U32 u32Attr, const void* pParam);
HW_API HW_Result_t HW_DISPOUT_PanelGetAttr(HW_Handle_t hDispout, HW_U32 u32Attr, const void* pInput, void* pOutput);

#ifdef __cplusplus
}
#endif

#endif
