// SPDX-License-Identifier: Apache-2.0
// I2C buses and the table of the devices on them.
#ifndef HW3_HW_IIC_H
#define HW3_HW_IIC_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum HW_IIC_ReadMode_e {
    E_HW_IIC_READ_MODE_0 = 0,
    E_HW_IIC_READ_MODE_1 = 1,
    E_HW_IIC_READ_MODE_2 = 2,
    E_HW_IIC_READ_MODE_FORCE_U32 = 0x7FFFFFFF
} HW_IIC_ReadMode_e;

#define HW_IIC_DEVICE_PORT_BASE 1024u  // bus n is also found under n + 1024

typedef struct HW_IIC_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_IIC_InitParams_t;
typedef struct HW_IIC_HandleParams_t {
    HW_U32 u32Port;  // bus n, as n or as n + HW_IIC_DEVICE_PORT_BASE
} HW_IIC_HandleParams_t;
typedef struct HW_IIC_OpenParams_t {
    HW_U32 u32Port;  // bus n, as n only
} HW_IIC_OpenParams_t;
HW_ASSERT_SIZE(HW_IIC_InitParams_t, 4);
HW_ASSERT_SIZE(HW_IIC_HandleParams_t, 4);
HW_ASSERT_SIZE(HW_IIC_OpenParams_t, 4);

// u16BusNumSlaveId here and below: bus number in the high byte, 8-bit slave address in the low byte.
typedef struct HW_IIC_ReadParams_t {
    HW_U32 eReadMode;         //  0  HW_IIC_ReadMode_e
    HW_U16 u16BusNumSlaveId;  //  4
    HW_U8 u8AddrCnt;          //  6  bytes at pu8Addr
    const HW_U8* pu8Addr;     //  8  register address, in the order sent
    HW_U16 u16Size;           // 16  bytes to read
    HW_U8* pu8Buf;            // 24  the caller's buffer of u16Size bytes
} HW_IIC_ReadParams_t;
HW_ASSERT_SIZE(HW_IIC_ReadParams_t, 32);

typedef struct HW_IIC_WriteData_t {
    HW_U16 u16BusNumSlaveId;  //  0
    HW_U8 u8AddrCnt;          //  2  bytes at pu8Addr
    const HW_U8* pu8Addr;     //  8  register address, in the order sent
    HW_U16 u16Size;           // 16  bytes to write
    const HW_U8* pu8Buf;      // 24
} HW_IIC_WriteData_t;
typedef struct HW_IIC_WriteParams_t {
    HW_IIC_WriteData_t stWriteData;
} HW_IIC_WriteParams_t;
HW_ASSERT_SIZE(HW_IIC_WriteParams_t, 32);

typedef struct HW_IIC_DeviceInfo_t {
    HW_U32 ePort;             //  0  port that the bus is opened under
    HW_U16 u16BusNumSlaveId;  //  4
} HW_IIC_DeviceInfo_t;
HW_ASSERT_SIZE(HW_IIC_DeviceInfo_t, 8);

// Null means defaults, and so does a zero-filled record.
HW_API HW_Result_t HW_IIC_Init(const HW_IIC_InitParams_t* pstParams);
HW_API HW_Result_t HW_IIC_GetHandle(const HW_IIC_HandleParams_t* pstParams, HW_Handle_t* phIic);
HW_API HW_Result_t HW_IIC_Open(const HW_IIC_OpenParams_t* pstParams, HW_Handle_t* phIic);

// Closes the bus, whoever has opened it.
HW_API HW_Result_t HW_IIC_Close(HW_Handle_t hIic);

// ppu8Buf: address of the record's own pu8Buf; any other answers HW_ERR_INVALID_PARAMETER. The bytes are written where
// that pointer points; the pointer itself stays as it is.
HW_API HW_Result_t HW_IIC_Read(HW_Handle_t hIic, const HW_IIC_ReadParams_t* pstParams, HW_U8** ppu8Buf);

// pu32Written: bytes written; may be null.
HW_API HW_Result_t HW_IIC_Write(HW_Handle_t hIic, const HW_IIC_WriteParams_t* pstParams, HW_U32* pu32Written);

HW_API HW_Result_t HW_IIC_SetDebugLevel(HW_U32 u32Level);

// Where the board has put a device. Needs no handle.
HW_API HW_Result_t HW_IIC_GetDeviceInfo(HW_U32 u32DeviceId, HW_IIC_DeviceInfo_t* pstInfo);

#ifdef __cplusplus
}
#endif

#endif
