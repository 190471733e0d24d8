// SPDX-License-Identifier: Apache-2.0
// The SAR converter: the resistor keypad of the set, and single ADC channels. The family has no Init, and its
// instances are never closed.
#ifndef HW3_HW_SAR_H
#define HW3_HW_SAR_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

#define HW_SAR_KEY_LEVELS 8u

// Bits of the event mask.
typedef enum HW_SAR_Event_e {
    E_HW_SAR_EVENT_KEYPAD_PRESS = 1,
    E_HW_SAR_EVENT_KEYPAD_RELEASE = 2,
    E_HW_SAR_EVENT_FORCE_U32 = 0x7FFFFFFF
} HW_SAR_Event_e;

// What an instance is opened as, and the argument of HW_SAR_ConfigMode.
typedef enum HW_SAR_Mode_e {
    E_HW_SAR_MODE_KEYPAD = 0,
    E_HW_SAR_MODE_ADC = 1,
    E_HW_SAR_MODE_FORCE_U32 = 0x7FFFFFFF
} HW_SAR_Mode_e;

// Runs once per event: u32Event is the event's bit, pu8Params points at one byte, the key code.
typedef HW_Result_t (*HW_SAR_EventCallback_t)(HW_Handle_t hSar, HW_U32 u32Event, HW_U8* pu8Params);

typedef struct HW_SAR_KeypadConfig_t {
    HW_U32 u32Channel;         //  0  always 0
    HW_U8 u8FirstBound;        //  4  BOARD_KEYPAD_CH_0_LOW_BOND of the board's configuration
    HW_U8 u8SecondBound;       //  5  BOARD_KEYPAD_CH_0_UP_BOND
    HW_U8 u8KeyLevelNum;       //  6  keys in use, up to HW_SAR_KEY_LEVELS
    HW_U8 au8KeyThreshold[8];  //  7  ADC value of each key
    HW_U8 au8KeyCode[8];       // 15  code that the callback gets
} HW_SAR_KeypadConfig_t;
HW_ASSERT_SIZE(HW_SAR_KeypadConfig_t, 24);

typedef struct HW_SAR_OpenParams_t {
    HW_U32 u32Mode;                                //  0  HW_SAR_Mode_e
    HW_U32 u32Channel;                             //  4  ADC channel; 0 for the keypad
    HW_U32 u32KeypadCount;                         //  8  1 for the keypad, else 0
    const HW_SAR_KeypadConfig_t* pstKeypadConfig;  // 16  null for an ADC channel
} HW_SAR_OpenParams_t;
HW_ASSERT_SIZE(HW_SAR_OpenParams_t, 24);

typedef struct HW_SAR_HandleParams_t {
    HW_U32 u32Channel;  // ADC channel
} HW_SAR_HandleParams_t;
HW_ASSERT_SIZE(HW_SAR_HandleParams_t, 4);

typedef struct HW_SAR_CallbackParams_t {
    HW_SAR_EventCallback_t pfnCallback;  //  0  null when unregistering
    HW_U32 u32EventMask;                 //  8  bits of HW_SAR_Event_e, among them E_HW_SAR_EVENT_KEYPAD_PRESS
    HW_U32 u32Reserved;                  // 12  must be 0
} HW_SAR_CallbackParams_t;
HW_ASSERT_SIZE(HW_SAR_CallbackParams_t, 16);

// Looks at ADC channels only; the keypad has no look-up.
HW_API HW_Result_t HW_SAR_GetHandle(const HW_SAR_HandleParams_t* pstParams, HW_Handle_t* phSar);

// Opening the keypad while it is open replaces its configuration and gives the same handle with HW_OK. Opening an ADC
// channel that is open answers HW_ERR_BUSY. Keypad and ADC channels do not exclude each other. The keypad's
// configuration may be read at its address until the next open.
HW_API HW_Result_t HW_SAR_Open(const HW_SAR_OpenParams_t* pstParams, HW_Handle_t* phSar);

// u32Mode: HW_SAR_Mode_e. An ADC channel has no mode when it is opened.
HW_API HW_Result_t HW_SAR_ConfigMode(HW_Handle_t hSar, HW_U32 u32Mode);
HW_API HW_Result_t HW_SAR_SetVoltageLevel(HW_Handle_t hSar, HW_U32 u32Level);

// Before HW_SAR_ConfigMode it answers HW_ERR_FAILED, in keypad mode HW_ERR_NOT_SUPPORT.
HW_API HW_Result_t HW_SAR_AdcGetValue(HW_Handle_t hSar, HW_U32* pu32Value);

// *pu32Out: the mask that is registered now.
HW_API HW_Result_t HW_SAR_RegisterCallback(HW_Handle_t hSar, const HW_SAR_CallbackParams_t* pstParams, HW_U32* pu32Out);

// A function in the record answers HW_ERR_INVALID_PARAMETER.
HW_API HW_Result_t HW_SAR_UnRegisterCallback(HW_Handle_t hSar, const HW_SAR_CallbackParams_t* pstParams);

#ifdef __cplusplus
}
#endif

#endif
