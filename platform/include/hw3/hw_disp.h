// SPDX-License-Identifier: Apache-2.0
// Display windows with their picture processing, and the display controller behind them. The family has no Init.
#ifndef HW3_HW_DISP_H
#define HW3_HW_DISP_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

#define HW_DISP_WINDOW_NAME_SIZE 64u  // bytes, with NUL; names are "HW_DISP_HD0", "HW_DISP_HD1", "HW_DISP_SD0"

// What a window may be connected to.
typedef enum HW_DISP_Module_e {
    E_HW_DISP_MODULE_EXTIN = 67,   // external inputs
    E_HW_DISP_MODULE_VIDEO = 199,  // video paths
    E_HW_DISP_MODULE_FORCE_U32 = 0x7FFFFFFF
} HW_DISP_Module_e;

typedef enum HW_DISP_AttrType_e {
    E_HW_DISP_ATTR_MUTE_COLOR = 1,        // set: HW_DISP_MuteColor_t
    E_HW_DISP_ATTR_TEST_PATTERN = 0x401,  // set: HW_DISP_TestPattern_t
    E_HW_DISP_ATTR_FORCE_U32 = 0x7FFFFFFF
} HW_DISP_AttrType_e;

// Where in the picture path a test pattern is generated.
typedef enum HW_DISP_PatternMode_e {
    E_HW_DISP_PATTERN_IPMUX = 0,
    E_HW_DISP_PATTERN_IP1 = 1,
    E_HW_DISP_PATTERN_OP_LINEBUFF = 2,
    E_HW_DISP_PATTERN_OP_HVSP = 3,
    E_HW_DISP_PATTERN_VOP = 4,
    E_HW_DISP_PATTERN_VOP2 = 5,
    E_HW_DISP_PATTERN_MOD = 6,
    E_HW_DISP_PATTERN_MVOP = 7,
    E_HW_DISP_PATTERN_ADC = 8,
    E_HW_DISP_PATTERN_WHITE_BALANCE = 9,
    E_HW_DISP_PATTERN_FORCE_U32 = 0x7FFFFFFF
} HW_DISP_PatternMode_e;

typedef enum HW_DISP_PictureParam_e {
    E_HW_DISP_PICTURE_COLOR_TEMP = 2,  // set: HW_DISP_ColorTemp_t
    E_HW_DISP_PICTURE_5 = 5,           // set: HW_S32, as are 12, 16, 18, 19, 20, 21
    E_HW_DISP_PICTURE_PQ_BLOCK = 10,   // set: HW_DISP_PqBlock_t
    E_HW_DISP_PICTURE_12 = 12,
    E_HW_DISP_PICTURE_16 = 16,
    E_HW_DISP_PICTURE_18 = 18,
    E_HW_DISP_PICTURE_19 = 19,
    E_HW_DISP_PICTURE_20 = 20,
    E_HW_DISP_PICTURE_21 = 21,
    E_HW_DISP_PICTURE_STRUCT = 23,        // set: HW_DISP_StructParam_t
    E_HW_DISP_PICTURE_PQ_RANGE = 24,      // get: HW_DISP_PqRange_t
    E_HW_DISP_PICTURE_GAMMA_ENABLE = 27,  // set: HW_DISP_Enable_t
    E_HW_DISP_PICTURE_GAMMA_CURVE = 28,   // set: HW_DISP_GammaCurve_t
    E_HW_DISP_PICTURE_PQ_MASTER = 39,     // set: HW_DISP_Enable_t
    E_HW_DISP_PICTURE_PQ_VERSION = 3841,  // get: HW_DISP_PqVersion_t; input: HW_DISP_PqVersionRequest_t
    E_HW_DISP_PICTURE_FORCE_U32 = 0x7FFFFFFF
} HW_DISP_PictureParam_e;

// Bits of one mask.
typedef enum HW_DISP_MuteFlag_e {
    E_HW_DISP_MUTE_WINDOW = 0x4,
    E_HW_DISP_MUTE_TIMING = 0x400,
    E_HW_DISP_MUTE_FORCE_U32 = 0x7FFFFFFF
} HW_DISP_MuteFlag_e;

typedef enum HW_DISP_ControlAttr_e {
    E_HW_DISP_CONTROL_FREE_RUN = 1,  // set: HW_S32
    E_HW_DISP_CONTROL_FORCE_U32 = 0x7FFFFFFF
} HW_DISP_ControlAttr_e;

typedef struct HW_DISP_OpenParams_t {
    HW_U32 u32SdWindow;   //  0  1 for "HW_DISP_SD0", else 0
    const char* pszName;  //  8  window name, NUL-terminated
} HW_DISP_OpenParams_t;
HW_ASSERT_SIZE(HW_DISP_OpenParams_t, 16);

typedef struct HW_DISP_ConnectQuery_t {
    HW_U32 u32Word0;       //  0  always 1
    HW_U32 u32ModuleKind;  //  4  HW_DISP_Module_e
    HW_U32 u32Word2;       //  8  always 1
} HW_DISP_ConnectQuery_t;
HW_ASSERT_SIZE(HW_DISP_ConnectQuery_t, 12);

typedef struct HW_DISP_Rect_t {
    HW_U16 u16X, u16Y, u16Width, u16Height;  //  0, 2, 4, 6
} HW_DISP_Rect_t;
HW_ASSERT_SIZE(HW_DISP_Rect_t, 8);

// A rectangle of the input picture, and the size of the picture that it is measured in.
typedef struct HW_DISP_InputRect_t {
    HW_U16 u16X, u16Y, u16Width, u16Height;  //  0, 2, 4, 6
    HW_U16 u16BaseWidth, u16BaseHeight;      //  8, 10
} HW_DISP_InputRect_t;
HW_ASSERT_SIZE(HW_DISP_InputRect_t, 12);

typedef struct HW_DISP_TestPattern_t {
    HW_U32 u32Mode;       //  0  HW_DISP_PatternMode_e
    HW_U32 u32Enable;     //  4  a flag: 1, or 0 to switch off
    HW_U32 u32Param;      //  8  depends on the mode; 1 for a full window of one colour
    HW_U32 au32Value[3];  // 12  red, green, blue, 0-1023
} HW_DISP_TestPattern_t;
HW_ASSERT_SIZE(HW_DISP_TestPattern_t, 24);

typedef struct HW_DISP_MuteColor_t {
    HW_U32 au32Value[3];  // red, green, blue
} HW_DISP_MuteColor_t;
HW_ASSERT_SIZE(HW_DISP_MuteColor_t, 12);

typedef struct HW_DISP_ColorTemp_t {
    HW_U32 au32Value[6];
} HW_DISP_ColorTemp_t;
HW_ASSERT_SIZE(HW_DISP_ColorTemp_t, 24);

typedef struct HW_DISP_PqBlock_t {
    HW_U32 u32Index;  //  0  0 to 2
    HW_U8 u8Enable;   //  4  a flag
} HW_DISP_PqBlock_t;
HW_ASSERT_SIZE(HW_DISP_PqBlock_t, 8);

typedef struct HW_DISP_Enable_t {
    HW_U8 u8Enable;  // a flag
} HW_DISP_Enable_t;
HW_ASSERT_SIZE(HW_DISP_Enable_t, 1);

typedef struct HW_DISP_StructParam_t {
    HW_U32 u32Kind;       //  0
    HW_S32 as32Value[7];  //  4
} HW_DISP_StructParam_t;
HW_ASSERT_SIZE(HW_DISP_StructParam_t, 32);

typedef struct HW_DISP_PqRange_t {
    HW_S32 as32Min[3];  //  0
    HW_S32 as32Max[3];  // 12
} HW_DISP_PqRange_t;
HW_ASSERT_SIZE(HW_DISP_PqRange_t, 24);

typedef struct HW_DISP_GammaCurve_t {
    HW_U32 u32Word0;              //  0  always 0
    HW_U32 u32Word1;              //  4  always 1
    const HW_U16* apu16Curve[3];  //  8  256 entries each
    HW_U16 au16Last[3];           // 32  entry 255 of each
} HW_DISP_GammaCurve_t;
HW_ASSERT_SIZE(HW_DISP_GammaCurve_t, 40);

typedef struct HW_DISP_PqVersionRequest_t {
    HW_U32 u32PqType;  // 0-6
} HW_DISP_PqVersionRequest_t;
typedef struct HW_DISP_PqVersion_t {
    HW_U8 au8Text[32];  // NUL only when shorter than 32
} HW_DISP_PqVersion_t;
HW_ASSERT_SIZE(HW_DISP_PqVersionRequest_t, 4);
HW_ASSERT_SIZE(HW_DISP_PqVersion_t, 32);

typedef struct HW_DISP_ControllerParams_t {
    HW_U32 u32Index;  // 0, the only instance
} HW_DISP_ControllerParams_t;
HW_ASSERT_SIZE(HW_DISP_ControllerParams_t, 4);

// Takes the window name itself, no record.
HW_API HW_Result_t HW_DISP_GetHandle(const char* pszName, HW_Handle_t* phDisp);
HW_API HW_Result_t HW_DISP_Open(const HW_DISP_OpenParams_t* pstParams, HW_Handle_t* phDisp);
HW_API HW_Result_t HW_DISP_Close(HW_Handle_t hDisp);

// How many modules of the kind are connected to the window.
HW_API HW_Result_t HW_DISP_GetConnectedNum(HW_Handle_t hDisp, const HW_DISP_ConnectQuery_t* pstQuery, HW_U32* pu32Num);

// Writes up to u32Num handles: phModules has room for that many. They are handles of HW_VIDEO or HW_EXTIN.
// HW_ERR_FAILED when there is room and nothing is connected.
HW_API HW_Result_t HW_DISP_GetConnected(HW_Handle_t hDisp, const HW_DISP_ConnectQuery_t* pstQuery, HW_U32 u32Num,
                                        HW_Handle_t* phModules);

HW_API HW_Result_t HW_DISP_GetDispRect(HW_Handle_t hDisp, HW_DISP_Rect_t* pstRect);
HW_API HW_Result_t HW_DISP_SetInputRect(HW_Handle_t hDisp, const HW_DISP_InputRect_t* pstRect);
HW_API HW_Result_t HW_DISP_SetAttr(HW_Handle_t hDisp, HW_U32 u32Attr, const void* pParam);
HW_API HW_Result_t HW_DISP_SetPictureParam(HW_Handle_t hDisp, HW_U32 u32Param, const void* pParam);

// pInput and pOutput as in every GetAttr.
HW_API HW_Result_t HW_DISP_GetPictureParam(HW_Handle_t hDisp, HW_U32 u32Param, const void* pInput, void* pOutput);

// u32Flags: bits of HW_DISP_MuteFlag_e, which SetMute sets and SetUnMute clears; none, or another bit, answers
// HW_ERR_INVALID_PARAMETER. The window is muted while any bit is set.
HW_API HW_Result_t HW_DISP_SetMute(HW_Handle_t hDisp, HW_U32 u32Flags);
HW_API HW_Result_t HW_DISP_SetUnMute(HW_Handle_t hDisp, HW_U32 u32Flags);

// Makes settings that are pending take effect: picture parameters and the input rectangle.
HW_API HW_Result_t HW_DISP_ApplySetting(HW_Handle_t hDisp);

// The controller has handles of its own.
HW_API HW_Result_t HW_DISP_GetController(const HW_DISP_ControllerParams_t* pstParams, HW_Handle_t* phController);
HW_API HW_Result_t HW_DISP_OpenController(const HW_DISP_ControllerParams_t* pstParams, HW_Handle_t* phController);
HW_API HW_Result_t HW_DISP_CloseController(HW_Handle_t hController);

// u32Attr: HW_DISP_ControlAttr_e.
HW_API HW_Result_t HW_DISP_SetControlAttr(HW_Handle_t hController, HW_U32 u32Attr, const void* pParam);

// u32Timing: 0-46; HW_ERR_NOT_SUPPORT for one that the panel cannot show.
HW_API HW_Result_t HW_DISP_SetOutputTiming(HW_Handle_t hController, HW_U32 u32Timing);

#ifdef __cplusplus
}
#endif

#endif
