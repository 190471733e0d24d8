// SPDX-License-Identifier: Apache-2.0
// The chip as a whole: system attributes, memory clocks, firmware, configuration files, memory regions, registers.
#ifndef HW3_HW_SYS_H
#define HW3_HW_SYS_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum HW_SYS_AttrType_e {
    E_HW_SYS_ATTR_CUSTOMER_HASH = 9,    // HW_SYS_AttrBuffer_t: 16 bytes
    E_HW_SYS_ATTR_DATAINDEX_PATH = 12,  // HW_SYS_AttrBuffer_t: path text, buffer of 128 bytes
    E_HW_SYS_ATTR_FORCE_U32 = 0x7FFFFFFF
} HW_SYS_AttrType_e;

typedef enum HW_SYS_MiuType_e {
    E_HW_SYS_MIU_0 = 0,
    E_HW_SYS_MIU_1 = 1,
    E_HW_SYS_MIU_2 = 2,
    E_HW_SYS_MIU_FORCE_U32 = 0x7FFFFFFF
} HW_SYS_MiuType_e;

typedef enum HW_SYS_FwType_e {
    E_HW_SYS_FW_0 = 0,
    E_HW_SYS_FW_TARN = 1,
    E_HW_SYS_FW_INVALID = 2,  // never sent
    E_HW_SYS_FW_FORCE_U32 = 0x7FFFFFFF
} HW_SYS_FwType_e;

typedef enum HW_SYS_ConfigDataType_e {
    E_HW_SYS_CONFIG_DATA_STRING = 2,  // the only one used
    E_HW_SYS_CONFIG_DATA_FORCE_U32 = 0x7FFFFFFF
} HW_SYS_ConfigDataType_e;

typedef enum HW_SYS_MmapId_e {
    E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF = 347,  // the capture buffer lives at its end
    E_HW_SYS_MMAP_ID_FACTORY_CANVAS = 378,    // fallback frame buffer
    E_HW_SYS_MMAP_ID_FORCE_U32 = 0x7FFFFFFF
} HW_SYS_MmapId_e;

typedef struct HW_SYS_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_SYS_InitParams_t;
HW_ASSERT_SIZE(HW_SYS_InitParams_t, 4);

// Request record of HW_SYS_GetAttr.
typedef struct HW_SYS_AttrBuffer_t {
    void* pBuffer;         //  0  the caller's zeroed buffer
    HW_U32 u32BufferSize;  //  8  bytes: 16 or 128
    HW_U32 u32CopiedSize;  // 12  out: bytes copied, customer hash only
} HW_SYS_AttrBuffer_t;
HW_ASSERT_SIZE(HW_SYS_AttrBuffer_t, 16);

typedef struct HW_SYS_ConfigData_t {
    HW_U32 u32Type;        //  0  HW_SYS_ConfigDataType_e
    HW_U32 u32Length;      //  4  bytes, without NUL
    const HW_U8* pu8Data;  //  8
} HW_SYS_ConfigData_t;
HW_ASSERT_SIZE(HW_SYS_ConfigData_t, 16);

// A memory region. Its physical start is the sum u64MiuBase + u64Offset.
typedef struct HW_SYS_MmapInfo_t {
    HW_U64 u64MiuBase;    //  0
    HW_U64 u64Offset;     //  8
    HW_U32 u32Length;     // 16  bytes
    HW_U32 u32MmapId;     // 20
    HW_U32 u32Miu;        // 24
    HW_U32 u32Alignment;  // 28
    HW_U8 au8Name[32];    // 32
} HW_SYS_MmapInfo_t;
HW_ASSERT_SIZE(HW_SYS_MmapInfo_t, 64);

// Null means defaults, and so does a zero-filled record.
HW_API HW_Result_t HW_SYS_Init(const HW_SYS_InitParams_t* pstParams);

// pParam: HW_SYS_AttrBuffer_t. There is no handle, and request and answer share the record.
HW_API HW_Result_t HW_SYS_GetAttr(HW_U32 u32Attr, void* pParam);

// Spread spectrum of one memory interface's clock; frequency and ratio in the chip's own units, u8Enable 0 or 1.
HW_API HW_Result_t HW_SYS_SetMiuSsc(HW_U32 u32Miu, HW_U16 u16Freq, HW_U16 u16Ratio, HW_U8 u8Enable);

// pu8Path: NUL-terminated path of the firmware file.
HW_API HW_Result_t HW_SYS_UpgradeFw(HW_U32 u32FwType, const HW_U8* pu8Path);

// Configuration files are INI text; keys read "section:key", and names are compared with regard to case. Several may be
// open at once, also of the same path.
HW_API HW_Result_t HW_SYS_OpenConfigFile(const HW_U8* pu8Path, HW_Handle_t* phConfig);

// In: type 2, length 0, null data; others answer HW_ERR_INVALID_PARAMETER. Out: pointer and length of the text, which
// is NUL-terminated, owned by the middleware and valid until HW_SYS_CloseConfigFile. A missing key answers
// HW_ERR_FAILED.
HW_API HW_Result_t HW_SYS_GetConfigData(HW_Handle_t hConfig, const HW_U8* pu8Key, HW_SYS_ConfigData_t* pstData);

// Type 2, length and text. Changes the open file only.
HW_API HW_Result_t HW_SYS_SetConfigData(HW_Handle_t hConfig, const HW_U8* pu8Key, const HW_SYS_ConfigData_t* pstData);

// Puts what was set into the file as it is by then, and keeps what others have set meanwhile. The file keeps its
// permissions, and a symbolic link to it stays one.
HW_API HW_Result_t HW_SYS_CloseConfigFile(HW_Handle_t hConfig);

// Allocating an allocated region answers HW_ERR_BUSY, freeing a free one HW_ERR_FAILED. HW_SYS_GetMmapLayout needs no
// allocation.
HW_API HW_Result_t HW_SYS_AllocateMmapLayout(HW_U32 u32MmapId, HW_SYS_MmapInfo_t* pstInfo);
HW_API HW_Result_t HW_SYS_GetMmapLayout(HW_U32 u32MmapId, HW_SYS_MmapInfo_t* pstInfo);
HW_API HW_Result_t HW_SYS_FreeMmapLayout(HW_U32 u32MmapId);

HW_API HW_Result_t hw_sys_ReadReg(HW_U32 u32Bank, HW_U32 u32Offset, HW_U32* pu32Value);
HW_API HW_Result_t hw_sys_WriteReg(HW_U32 u32Bank, HW_U32 u32Offset, HW_U32 u32Value);

#ifdef __cplusplus
}
#endif

#endif
