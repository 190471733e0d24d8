// SPDX-License-Identifier: Apache-2.0
// Serial ports.
#ifndef HW3_HW_UART_H
#define HW3_HW_UART_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum HW_UART_PortType_e {
    E_HW_UART_PORT_0 = 0,
    E_HW_UART_PORT_1 = 1,
    E_HW_UART_PORT_2 = 2,
    E_HW_UART_PORT_3 = 3,
    E_HW_UART_PORT_4 = 4,
    E_HW_UART_PORT_FORCE_U32 = 0x7FFFFFFF
} HW_UART_PortType_e;

typedef enum HW_UART_BaudRate_e {
    E_HW_UART_BAUD_19200 = 0,
    E_HW_UART_BAUD_38400 = 1,
    E_HW_UART_BAUD_57600 = 2,
    E_HW_UART_BAUD_230400 = 3,
    E_HW_UART_BAUD_115200 = 4,
    E_HW_UART_BAUD_FORCE_U32 = 0x7FFFFFFF
} HW_UART_BaudRate_e;

// Devices 0 to 17; the board gives them their meaning.
typedef enum HW_UART_DeviceType_e {
    E_HW_UART_DEVICE_FIRST = 0,
    E_HW_UART_DEVICE_LAST = 17,
    E_HW_UART_DEVICE_FORCE_U32 = 0x7FFFFFFF
} HW_UART_DeviceType_e;

#define HW_UART_EVENT_RX_CHAR 1u  // bit of the event mask

// Runs once per received character: u32Event is HW_UART_EVENT_RX_CHAR, pu8Params points at that one character. The
// result is ignored.
typedef HW_Result_t (*HW_UART_EventCallback_t)(HW_Handle_t hUart, HW_U32 u32Event, HW_U8* pu8Params);

typedef struct HW_UART_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_UART_InitParams_t;
typedef struct HW_UART_HandleParams_t {
    HW_U32 u32PortType;  // HW_UART_PortType_e
} HW_UART_HandleParams_t;
HW_ASSERT_SIZE(HW_UART_InitParams_t, 4);
HW_ASSERT_SIZE(HW_UART_HandleParams_t, 4);

typedef struct HW_UART_OpenParams_t {
    HW_U32 u32PortType;     //  0  HW_UART_PortType_e
    HW_U32 u32DeviceType;   //  4  HW_UART_DeviceType_e
    HW_U32 u32BaudRate;     //  8  HW_UART_BaudRate_e
    HW_U8 au8Reserved[10];  // 12  must be 0
} HW_UART_OpenParams_t;
HW_ASSERT_SIZE(HW_UART_OpenParams_t, 24);

typedef struct HW_UART_CallbackParams_t {
    HW_UART_EventCallback_t pfnCallback;  //  0  null when unregistering
    HW_U32 u32EventMask;                  //  8  HW_UART_EVENT_RX_CHAR alone
    HW_U32 u32Reserved;                   // 12  must be 0
} HW_UART_CallbackParams_t;
HW_ASSERT_SIZE(HW_UART_CallbackParams_t, 16);

typedef struct HW_UART_WriteParams_t {
    const HW_U8* pu8Data;  //  0
    HW_U32 u32Length;      //  8  bytes
    HW_U32 u32Reserved;    // 12  must be 0
} HW_UART_WriteParams_t;
HW_ASSERT_SIZE(HW_UART_WriteParams_t, 16);

// Null means defaults, and so does a zero-filled record.
HW_API HW_Result_t HW_UART_Init(const HW_UART_InitParams_t* pstParams);

// A port out of range, -1 included, answers HW_ERR_INVALID_PARAMETER.
HW_API HW_Result_t HW_UART_GetHandle(const HW_UART_HandleParams_t* pstParams, HW_Handle_t* phUart);
HW_API HW_Result_t HW_UART_Open(const HW_UART_OpenParams_t* pstParams, HW_Handle_t* phUart);

// Closes the port, whoever has opened it.
HW_API HW_Result_t HW_UART_Close(HW_Handle_t hUart);

// One callback per port: a second registration replaces the first. *pu32Out: the mask that is registered now.
HW_API HW_Result_t HW_UART_RegisterCallback(HW_Handle_t hUart, const HW_UART_CallbackParams_t* pstParams,
                                            HW_U32* pu32Out);

// A function in the record answers HW_ERR_INVALID_PARAMETER.
HW_API HW_Result_t HW_UART_UnRegisterCallback(HW_Handle_t hUart, const HW_UART_CallbackParams_t* pstParams);

// u32BaudRate: HW_UART_BaudRate_e.
HW_API HW_Result_t HW_UART_SetBaudrate(HW_Handle_t hUart, HW_U32 u32BaudRate);

// pu32Written: bytes written; may be null.
HW_API HW_Result_t HW_UART_Write(HW_Handle_t hUart, const HW_UART_WriteParams_t* pstParams, HW_U32* pu32Written);
HW_API HW_Result_t HW_UART_PutChar(HW_Handle_t hUart, HW_U8 u8Char);

#ifdef __cplusplus
}
#endif

#endif
