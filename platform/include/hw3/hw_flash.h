// SPDX-License-Identifier: Apache-2.0
// Flash memory: the boot environment, and raw access to named partitions.
#ifndef HW3_HW_FLASH_H
#define HW3_HW_FLASH_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

#define HW_FLASH_ENV_IMAGE_SIZE 0x10000u  // bytes
#define HW_FLASH_ENV_VALUE_SIZE 2048u     // bytes, with NUL

typedef enum HW_FLASH_Type_e {
    E_HW_FLASH_TYPE_SPI_NOR = 0,
    E_HW_FLASH_TYPE_NAND = 1,
    E_HW_FLASH_TYPE_EMMC = 2,
    E_HW_FLASH_TYPE_FORCE_U32 = 0x7FFFFFFF
} HW_FLASH_Type_e;

typedef struct HW_FLASH_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_FLASH_InitParams_t;
HW_ASSERT_SIZE(HW_FLASH_InitParams_t, 4);

typedef struct HW_FLASH_HandleParams_t {
    HW_U32 u32FlashType;  //   0  HW_FLASH_Type_e
    HW_U8 au8Name[128];   //   4  empty: all bytes 0
} HW_FLASH_HandleParams_t;
HW_ASSERT_SIZE(HW_FLASH_HandleParams_t, 132);

typedef struct HW_FLASH_OpenParams_t {
    HW_U32 u32FlashType;  //   0  HW_FLASH_Type_e
    HW_U8 au8Name[128];   //   4  empty: all bytes 0
} HW_FLASH_OpenParams_t;
HW_ASSERT_SIZE(HW_FLASH_OpenParams_t, 132);

typedef struct HW_FLASH_EnvVar_t {
    HW_U8* pu8EnvImage;   //   0  image of HW_FLASH_ENV_IMAGE_SIZE bytes
    const HW_U8* pu8Key;  //   8  NUL-terminated
    HW_U8* pu8Value;      //  16  HW_FLASH_ENV_VALUE_SIZE bytes: out of Get, in of Set, always NUL-terminated
} HW_FLASH_EnvVar_t;
HW_ASSERT_SIZE(HW_FLASH_EnvVar_t, 24);

typedef struct HW_FLASH_Transfer_t {
    HW_U32 u32FlashType;            //   0  always E_HW_FLASH_TYPE_EMMC
    const HW_U8* pu8PartitionName;  //   8  NUL-terminated
    HW_U32 u32Offset;               //  16  bytes into the partition
    HW_U8* pu8Data;                 //  24  only read by HW_FLASH_Write
    HW_U32 u32Length;               //  32  bytes
} HW_FLASH_Transfer_t;
HW_ASSERT_SIZE(HW_FLASH_Transfer_t, 40);

HW_API HW_Result_t HW_FLASH_Init(const HW_FLASH_InitParams_t* pstParams);
HW_API HW_Result_t HW_FLASH_GetHandle(const HW_FLASH_HandleParams_t* pstParams, HW_Handle_t* phFlash);
HW_API HW_Result_t HW_FLASH_Open(const HW_FLASH_OpenParams_t* pstParams, HW_Handle_t* phFlash);
HW_API HW_Result_t HW_FLASH_Close(HW_Handle_t hFlash);

// The whole environment, HW_FLASH_ENV_IMAGE_SIZE bytes, out of and into flash memory. Loading an image with a wrong
// checksum answers HW_ERR_DATA_ERROR.
HW_API HW_Result_t HW_FLASH_LoadEnv(HW_Handle_t hFlash, HW_U8* pu8EnvImage);
HW_API HW_Result_t HW_FLASH_StoreEnv(HW_Handle_t hFlash, const HW_U8* pu8EnvImage);

// Looks the key up in *pu8EnvImage and writes *pu8Value; a missing key answers HW_ERR_FAILED.
HW_API HW_Result_t HW_FLASH_GetEnvVar(HW_Handle_t hFlash, const HW_FLASH_EnvVar_t* pstVar);

// Edits *pu8EnvImage only; HW_FLASH_StoreEnv makes it last. An empty value is stored as an empty value, the key is not
// deleted. A value for which the image has no room answers HW_ERR_LIMITION.
HW_API HW_Result_t HW_FLASH_SetEnvVar(HW_Handle_t hFlash, const HW_FLASH_EnvVar_t* pstVar);

// *pu32Report: bytes transferred. A transfer beyond the partition's end answers HW_ERR_LIMITION.
HW_API HW_Result_t HW_FLASH_Read(HW_Handle_t hFlash, const HW_FLASH_Transfer_t* pstTransfer, HW_U32* pu32Report);
HW_API HW_Result_t HW_FLASH_Write(HW_Handle_t hFlash, const HW_FLASH_Transfer_t* pstTransfer, HW_U32* pu32Report);

#ifdef __cplusplus
}
#endif

#endif
