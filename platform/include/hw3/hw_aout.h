// SPDX-License-Identifier: Apache-2.0
// Sound output: delay and volume per output path, volume tables, basic and advanced sound processing.
#ifndef HW3_HW_AOUT_H
#define HW3_HW_AOUT_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

#define HW_AOUT_PATH_COUNT 9u  // paths 0 to 8; 0 is the main output path

typedef enum HW_AOUT_AttrType_e {
    E_HW_AOUT_ATTR_VOLUME_TABLE = 3,        // set: HW_AOUT_VolumeTable_t
    E_HW_AOUT_ATTR_DTS_BYPASS = 0x1000,     // set, get: HW_U8, a flag
    E_HW_AOUT_ATTR_BASIC_SOUND = 0x1001,    // set, get: HW_AOUT_BasicSound_t; input of get: HW_U8, the type
    E_HW_AOUT_ATTR_ADV_SND_TYPE = 0x1002,   // set, get: HW_U32, HW_AOUT_AdvSndType_e
    E_HW_AOUT_ATTR_ADV_SND_PARAM = 0x1004,  // set, get: HW_AOUT_AdvSndParams_t
    E_HW_AOUT_ATTR_LAST = 0x1302,           // highest number of an attribute
    E_HW_AOUT_ATTR_FORCE_U32 = 0x7FFFFFFF
} HW_AOUT_AttrType_e;

typedef enum HW_AOUT_AdvSndType_e {
    E_HW_AOUT_ADV_SND_SRS_TSHD = 0,
    E_HW_AOUT_ADV_SND_SRS_THEATER = 1,
    E_HW_AOUT_ADV_SND_SRS_PURE = 2,
    E_HW_AOUT_ADV_SND_DTS_VIRTUALX = 3,
    E_HW_AOUT_ADV_SND_DOLBY_VOLUME = 48,
    E_HW_AOUT_ADV_SND_DOLBY_DAP = 49,
    E_HW_AOUT_ADV_SND_DBX = 96,
    E_HW_AOUT_ADV_SND_NONE = 255,
    E_HW_AOUT_ADV_SND_FORCE_U32 = 0x7FFFFFFF
} HW_AOUT_AdvSndType_e;

typedef enum HW_AOUT_DbxSonic_e {
    E_HW_AOUT_DBX_SONIC_ON = 0,
    E_HW_AOUT_DBX_SONIC_OFF = 1,
    E_HW_AOUT_DBX_SONIC_FORCE_U32 = 0x7FFFFFFF
} HW_AOUT_DbxSonic_e;
typedef enum HW_AOUT_DbxVolume_e {
    E_HW_AOUT_DBX_VOLUME_NORMAL = 0,
    E_HW_AOUT_DBX_VOLUME_NIGHT = 1,
    E_HW_AOUT_DBX_VOLUME_OFF = 2,
    E_HW_AOUT_DBX_VOLUME_FORCE_U32 = 0x7FFFFFFF
} HW_AOUT_DbxVolume_e;
typedef enum HW_AOUT_DbxSurround_e {
    E_HW_AOUT_DBX_SURROUND_ON = 0,
    E_HW_AOUT_DBX_SURROUND_OFF = 1,
    E_HW_AOUT_DBX_SURROUND_FORCE_U32 = 0x7FFFFFFF
} HW_AOUT_DbxSurround_e;

typedef enum HW_AOUT_BasicSndType_e {
    E_HW_AOUT_BASIC_SND_PRESCALE = 0,
    E_HW_AOUT_BASIC_SND_EQ = 1,
    E_HW_AOUT_BASIC_SND_PEQ = 2,
    E_HW_AOUT_BASIC_SND_TREBLE = 3,
    E_HW_AOUT_BASIC_SND_BASS = 4,
    E_HW_AOUT_BASIC_SND_AVC = 5,
    E_HW_AOUT_BASIC_SND_SURROUND = 6,
    E_HW_AOUT_BASIC_SND_BALANCE = 7,
    E_HW_AOUT_BASIC_SND_DRC = 8,
    E_HW_AOUT_BASIC_SND_ECHO = 9,
    E_HW_AOUT_BASIC_SND_NR = 10,
    E_HW_AOUT_BASIC_SND_HPF = 11,
    E_HW_AOUT_BASIC_SND_LIMITER = 12,
    E_HW_AOUT_BASIC_SND_FORCE_U32 = 0x7FFFFFFF
} HW_AOUT_BasicSndType_e;

typedef struct HW_AOUT_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_AOUT_InitParams_t;
typedef struct HW_AOUT_HandleParams_t {
    HW_U32 u32OutPath;  // 0-8
} HW_AOUT_HandleParams_t;
HW_ASSERT_SIZE(HW_AOUT_InitParams_t, 4);
HW_ASSERT_SIZE(HW_AOUT_HandleParams_t, 4);

typedef struct HW_AOUT_OpenParams_t {
    HW_U32 u32OutPath;      //  0  0-8
    HW_U8 u8Flag;           //  4  always 0
    HW_U8 au8Reserved[27];  //  5  must be 0
} HW_AOUT_OpenParams_t;
HW_ASSERT_SIZE(HW_AOUT_OpenParams_t, 32);

// Parameters of advanced sound processing, one record per type. An enable byte switches one sub-effect, 1 on and 0 off;
// the library passes on the byte that its caller gave, whatever it is.
typedef struct HW_AOUT_SrsTshd_t {
    HW_U8 au8Enable[5];  // sub-effects 0 to 4
} HW_AOUT_SrsTshd_t;
typedef struct HW_AOUT_SrsTheater_t {
    HW_U8 au8Reserved0[16];    //  0
    HW_U8 au8Enable5To11[7];   // 16  sub-effects 5 to 11
    HW_U8 au8Reserved1[9];     // 23
    HW_U8 au8Enable12To16[5];  // 32  sub-effects 12 to 16
} HW_AOUT_SrsTheater_t;
typedef struct HW_AOUT_SrsPure_t {
    HW_U8 au8Enable[4];  // sub-effects 0 to 3
} HW_AOUT_SrsPure_t;
typedef struct HW_AOUT_DtsVirtualX_t {
    HW_U8 au8Enable[7];  // sub-effects 0 to 6
} HW_AOUT_DtsVirtualX_t;
typedef struct HW_AOUT_DolbyDapSub_t {
    HW_U8 u8Total;  //  0
    HW_U8 u8Atmos;  //  1
} HW_AOUT_DolbyDapSub_t;
typedef struct HW_AOUT_Dbx_t {
    HW_U32 u32SonicMode;     //  0  HW_AOUT_DbxSonic_e
    HW_U32 u32VolumeMode;    //  4  HW_AOUT_DbxVolume_e
    HW_U32 u32SurroundMode;  //  8  HW_AOUT_DbxSurround_e
    HW_U32 u32Field4;        // 12  always 0
    HW_U32 u32Field5;        // 16  always 0
} HW_AOUT_Dbx_t;
typedef struct HW_AOUT_DapGainParam_t {
    HW_S32 s32PreGain;
} HW_AOUT_DapGainParam_t;
// Handed through as it is; only the pre-gain has a name.
typedef struct HW_AOUT_DolbyDapParams_t {
    HW_U32 u32Field0;                       //  0
    HW_AOUT_DapGainParam_t stDapGainParam;  //  4
    HW_U8 au8Rest[1592];                    //  8
} HW_AOUT_DolbyDapParams_t;
typedef struct HW_AOUT_AdvSndParams_t {
    HW_U32 u32Type;  //  0  HW_AOUT_AdvSndType_e
    union {          //  4  1600 bytes
        HW_U8 au8Raw[1600];
        HW_AOUT_SrsTshd_t stSrsTshd;
        HW_AOUT_SrsTheater_t stSrsTheater;
        HW_AOUT_SrsPure_t stSrsPure;
        HW_AOUT_Dbx_t stDbx;
        HW_AOUT_DolbyDapSub_t stDolbyDapSub;
        HW_AOUT_DolbyDapParams_t stDolbyDapParams;
        HW_AOUT_DtsVirtualX_t stDtsVirtualX;
    } attr;
} HW_AOUT_AdvSndParams_t;
HW_ASSERT_SIZE(HW_AOUT_SrsTheater_t, 37);
HW_ASSERT_SIZE(HW_AOUT_Dbx_t, 20);
HW_ASSERT_SIZE(HW_AOUT_DolbyDapParams_t, 1600);
HW_ASSERT_SIZE(HW_AOUT_AdvSndParams_t, 1604);

// Parameters of basic sound processing. The flat view of 32 slots holds the bands of the EQ, up to 8, and covers the
// arrays of the PEQ without a gap: a PEQ with more than 5 bands runs on into the next array, gain 5 into frequency 0.
#define HW_AOUT_PEQ_BANDS 5u
#define HW_AOUT_BASIC_SND_SLOTS 32u
typedef struct HW_AOUT_Peq_t {
    HW_U16 au16Gain[5];  //  0  flat slots 0-4
    HW_U16 au16Freq[5];  // 10  flat slots 5-9
    HW_U16 au16Q[5];     // 20  flat slots 10-14
} HW_AOUT_Peq_t;
typedef struct HW_AOUT_BasicSound_t {
    HW_U32 u32Type;   //  0  HW_AOUT_BasicSndType_e
    HW_U8 u8Enable;   //  4
    HW_U8 u8Pad;      //  5
    HW_U16 u16Value;  //  6  scalar value, or band count for EQ and PEQ
    union {           //  8
        HW_U16 au16Band[HW_AOUT_BASIC_SND_SLOTS];
        HW_AOUT_Peq_t stPeq;
    } band;
} HW_AOUT_BasicSound_t;
HW_ASSERT_SIZE(HW_AOUT_Peq_t, 30);
HW_ASSERT_SIZE(HW_AOUT_BasicSound_t, 72);

// The record has no length: an implementation that does not know it otherwise relies on the first entry only.
typedef struct HW_AOUT_VolumeTable_t {
    const HW_U16* pu16VolumeData;  //  0
    const HW_U8* pu8TableName;     //  8  NUL-terminated
} HW_AOUT_VolumeTable_t;
HW_ASSERT_SIZE(HW_AOUT_VolumeTable_t, 16);

typedef struct HW_AOUT_AqParams_t {
    const HW_U8* pu8FileName;  // NUL-terminated path of an audio-quality file
} HW_AOUT_AqParams_t;
HW_ASSERT_SIZE(HW_AOUT_AqParams_t, 8);

HW_API HW_Result_t HW_AOUT_Init(const HW_AOUT_InitParams_t* pstParams);
HW_API HW_Result_t HW_AOUT_DeInit(void);
HW_API HW_Result_t HW_AOUT_GetHandle(const HW_AOUT_HandleParams_t* pstParams, HW_Handle_t* phAout);
HW_API HW_Result_t HW_AOUT_Open(const HW_AOUT_OpenParams_t* pstParams, HW_Handle_t* phAout);

// Closes the path, whoever has opened it.
HW_API HW_Result_t HW_AOUT_Close(HW_Handle_t hAout);
HW_API HW_Result_t HW_AOUT_SetAttr(HW_Handle_t hAout, HW_U32 u32Attr, const void* pParam);

// The largest output is HW_AOUT_AdvSndParams_t: a caller that does not know the attribute provides 1604 bytes. An input
// that the attribute does not have is not read.
HW_API HW_Result_t HW_AOUT_GetAttr(HW_Handle_t hAout, HW_U32 u32Attr, const void* pInput, void* pOutput);

// Delay in milliseconds.
HW_API HW_Result_t HW_AOUT_SetDelay(HW_Handle_t hAout, HW_U32 u32OutPath, HW_U32 u32DelayMs);
HW_API HW_Result_t HW_AOUT_GetDelay(HW_Handle_t hAout, HW_U32 u32OutPath, HW_U32* pu32DelayMs);

// Volume 0-100.
HW_API HW_Result_t HW_AOUT_SetVolume(HW_Handle_t hAout, HW_U32 u32OutPath, HW_U8 u8Volume);
HW_API HW_Result_t HW_AOUT_GetVolume(HW_Handle_t hAout, HW_U32 u32OutPath, HW_U8* pu8Volume);

// A file that is missing or empty answers HW_ERR_DATA_ERROR.
HW_API HW_Result_t HW_AOUT_LoadAqParams(HW_Handle_t hAout, const HW_AOUT_AqParams_t* pstParams);

#ifdef __cplusplus
}
#endif

#endif
