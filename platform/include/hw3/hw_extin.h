// SPDX-License-Identifier: Apache-2.0
// External inputs: HDMI with EDID and hot plug, the analogue inputs with their ADC calibration, the video decoder.
//
// An input is named by its type and its index within the type; HDMI port p is {E_HW_EXTIN_TYPE_HDMI, p}. Look-up and
// open records begin differently: fill them by member name, never by position.
#ifndef HW3_HW_EXTIN_H
#define HW3_HW_EXTIN_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum HW_EXTIN_Type_e {
    E_HW_EXTIN_TYPE_HDMI = 0,
    E_HW_EXTIN_TYPE_YPBPR = 1,
    E_HW_EXTIN_TYPE_VGA = 2,
    E_HW_EXTIN_TYPE_CVBS = 3,
    E_HW_EXTIN_TYPE_SVIDEO = 4,
    E_HW_EXTIN_TYPE_SCART = 5,
    E_HW_EXTIN_TYPE_VD = 6,   // analogue video decoder
    E_HW_EXTIN_TYPE_NUM = 7,  // number of types; as a type: no external input
    E_HW_EXTIN_TYPE_FORCE_U32 = 0x7FFFFFFF
} HW_EXTIN_Type_e;

typedef enum HW_EXTIN_AttrType_e {
    E_HW_EXTIN_ATTR_HDMI_EDID = 1,             // set, get: HW_EXTIN_HdmiEdid_t
    E_HW_EXTIN_ATTR_HDMI_HPD = 9,              // set: HW_EXTIN_HdmiHpd_t
    E_HW_EXTIN_ATTR_TIMING = 0x8002,           // get: HW_EXTIN_Timing_t
    E_HW_EXTIN_ATTR_ADC_PHASE = 0x8003,        // set, get: HW_EXTIN_AdcPhase_t
    E_HW_EXTIN_ATTR_ADC_GAIN_OFFSET = 0x8004,  // set, get: HW_EXTIN_AdcGainOffset_t
    E_HW_EXTIN_ATTR_FORCE_U32 = 0x7FFFFFFF
} HW_EXTIN_AttrType_e;

typedef enum HW_EXTIN_HdmiEdidVersion_e {
    E_HW_EXTIN_HDMI_EDID_VERSION_DEFAULT = 0,  // default, or invalid
    E_HW_EXTIN_HDMI_EDID_VERSION_1 = 1,
    E_HW_EXTIN_HDMI_EDID_VERSION_2 = 2,
    E_HW_EXTIN_HDMI_EDID_VERSION_3 = 3,
    E_HW_EXTIN_HDMI_EDID_VERSION_FORCE_U32 = 0x7FFFFFFF
} HW_EXTIN_HdmiEdidVersion_e;

// Factory parameters of the video decoder: 1 to 16.
typedef enum HW_EXTIN_FactoryType_e {
    E_HW_EXTIN_FACTORY_NONE = 0,
    E_HW_EXTIN_FACTORY_FIRST = 1,
    E_HW_EXTIN_FACTORY_LAST = 16,
    E_HW_EXTIN_FACTORY_UNKNOWN = 17,
    E_HW_EXTIN_FACTORY_FORCE_U32 = 0x7FFFFFFF
} HW_EXTIN_FactoryType_e;

// Television standards: 0 to 9, or none.
typedef enum HW_EXTIN_TvSystem_e {
    E_HW_EXTIN_TV_SYSTEM_FIRST = 0,
    E_HW_EXTIN_TV_SYSTEM_LAST = 9,
    E_HW_EXTIN_TV_SYSTEM_NONE = 10,
    E_HW_EXTIN_TV_SYSTEM_FORCE_U32 = 0x7FFFFFFF
} HW_EXTIN_TvSystem_e;

typedef enum HW_EXTIN_Signal_e {
    E_HW_EXTIN_SIGNAL_NONE = 0,
    E_HW_EXTIN_SIGNAL_LOCKED = 1,
    E_HW_EXTIN_SIGNAL_UNKNOWN = 2,
    E_HW_EXTIN_SIGNAL_FORCE_U32 = 0x7FFFFFFF
} HW_EXTIN_Signal_e;

typedef struct HW_EXTIN_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_EXTIN_InitParams_t;
HW_ASSERT_SIZE(HW_EXTIN_InitParams_t, 4);

// How many inputs of each type the set has, in the order of HW_EXTIN_Type_e.
typedef struct HW_EXTIN_Caps_t {
    HW_U8 u8HdmiNum;    //  0
    HW_U8 u8YpbprNum;   //  1
    HW_U8 u8VgaNum;     //  2
    HW_U8 u8CvbsNum;    //  3
    HW_U8 u8SvideoNum;  //  4
    HW_U8 u8ScartNum;   //  5
    HW_U8 u8VdNum;      //  6
    HW_U8 u8Reserved;   //  7
} HW_EXTIN_Caps_t;
HW_ASSERT_SIZE(HW_EXTIN_Caps_t, 8);

typedef struct HW_EXTIN_HandleParams_t {
    HW_U32 u32Type;   //  0  HW_EXTIN_Type_e
    HW_U32 u32Index;  //  4  the port of HDMI
} HW_EXTIN_HandleParams_t;
HW_ASSERT_SIZE(HW_EXTIN_HandleParams_t, 8);

typedef struct HW_EXTIN_OpenParams_t {
    HW_U32 u32OpenValue;  //  0  2 VGA, 1 YPbPr, 0 all others; any other: HW_ERR_INVALID_PARAMETER
    HW_U32 u32Type;       //  4  HW_EXTIN_Type_e
    HW_U32 u32Index;      //  8  the port of HDMI
} HW_EXTIN_OpenParams_t;
HW_ASSERT_SIZE(HW_EXTIN_OpenParams_t, 12);

// Set: bytes and version; null data with size 0 changes the version only. The data are only read.
// Get: the caller puts a buffer and its capacity in, the middleware fills in version, bytes and count. Null data with
// size 0 asks for version and count only. A capacity below the EDID's size answers HW_ERR_LIMITION, nothing written.
typedef struct HW_EXTIN_HdmiEdid_t {
    HW_U32 u32Reserved;  //  0  must be 0
    HW_U32 u32Version;   //  4  HW_EXTIN_HdmiEdidVersion_e
    HW_U8* pu8Data;      //  8  owned by the caller
    HW_U32 u32Size;      // 16  bytes
} HW_EXTIN_HdmiEdid_t;
HW_ASSERT_SIZE(HW_EXTIN_HdmiEdid_t, 24);
#define HW_EXTIN_EDID_MAX_SIZE 512u  // bytes

typedef struct HW_EXTIN_HdmiHpd_t {
    HW_U8 u8Reserved;  //  0  must be 0
    HW_U8 u8Level;     //  1  a flag
} HW_EXTIN_HdmiHpd_t;
HW_ASSERT_SIZE(HW_EXTIN_HdmiHpd_t, 2);

typedef struct HW_EXTIN_Timing_t {
    HW_U32 u32Width;      //  0
    HW_U32 u32Height;     //  4
    HW_U8 u8Interlaced;   //  8  1 = interlaced
    HW_U32 u32FrameRate;  // 12  1/1000 Hz
} HW_EXTIN_Timing_t;
HW_ASSERT_SIZE(HW_EXTIN_Timing_t, 16);

typedef struct HW_EXTIN_AdcPhase_t {
    HW_U32 u32Red, u32Green, u32Blue;  //  0, 4, 8
} HW_EXTIN_AdcPhase_t;
HW_ASSERT_SIZE(HW_EXTIN_AdcPhase_t, 12);

typedef struct HW_EXTIN_AdcGainOffset_t {
    HW_U32 u32RedGain, u32GreenGain, u32BlueGain;        //  0, 4, 8
    HW_U32 u32RedOffset, u32GreenOffset, u32BlueOffset;  // 12, 16, 20
} HW_EXTIN_AdcGainOffset_t;
HW_ASSERT_SIZE(HW_EXTIN_AdcGainOffset_t, 24);

HW_API HW_Result_t HW_EXTIN_Init(const HW_EXTIN_InitParams_t* pstParams);
HW_API HW_Result_t HW_EXTIN_DeInit(void);
HW_API HW_Result_t HW_EXTIN_GetCaps(HW_EXTIN_Caps_t* pstCaps);
HW_API HW_Result_t HW_EXTIN_GetHandle(const HW_EXTIN_HandleParams_t* pstParams, HW_Handle_t* phExtin);
HW_API HW_Result_t HW_EXTIN_Open(const HW_EXTIN_OpenParams_t* pstParams, HW_Handle_t* phExtin);
HW_API HW_Result_t HW_EXTIN_Close(HW_Handle_t hExtin);
HW_API HW_Result_t HW_EXTIN_SetAttr(HW_Handle_t hExtin, HW_U32 u32Attr, const void* pParam);
HW_API HW_Result_t HW_EXTIN_GetAttr(HW_Handle_t hExtin, HW_U32 u32Attr, const void* pInput, void* pOutput);

// Calibrates the ADC of an analogue input from the signal present; HW_ERR_FAILED without one.
HW_API HW_Result_t HW_EXTIN_AutoGainOffset(HW_Handle_t hExtin);

// u32Mode: 1. *pu32TvSystem: HW_EXTIN_TvSystem_e.
HW_API HW_Result_t HW_EXTIN_DetectTvSystem(HW_Handle_t hExtin, HW_U32 u32Mode, HW_U32* pu32TvSystem);

// *pu32Status: HW_EXTIN_Signal_e.
HW_API HW_Result_t HW_EXTIN_GetSignalStatus(HW_Handle_t hExtin, HW_U32* pu32Status);

// Of the video decoder. u32FactoryType: HW_EXTIN_FactoryType_e; the value is a HW_U32.
HW_API HW_Result_t HW_EXTIN_FactorySetAttr(HW_Handle_t hExtin, HW_U32 u32FactoryType, const void* pParam);
HW_API HW_Result_t HW_EXTIN_FactoryGetAttr(HW_Handle_t hExtin, HW_U32 u32FactoryType, const void* pInput,
                                           void* pOutput);

#ifdef __cplusplus
}
#endif

#endif
