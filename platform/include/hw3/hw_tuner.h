// SPDX-License-Identifier: Apache-2.0
// Tuners and their demodulators. A tuner stays open: there is no Close.
#ifndef HW3_HW_TUNER_H
#define HW3_HW_TUNER_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// Get: text into a buffer of HW_TUNER_TEXT_SIZE bytes.
typedef enum HW_TUNER_AttrType_e {
    E_HW_TUNER_ATTR_TS_STREAMS_NUM = 8,  // a text too
    E_HW_TUNER_ATTR_TUNER_NAME = 9,
    E_HW_TUNER_ATTR_FORCE_U32 = 0x7FFFFFFF
} HW_TUNER_AttrType_e;

// Get: text into a buffer of HW_TUNER_TEXT_SIZE bytes.
typedef enum HW_TUNER_FactoryCmd_e {
    E_HW_TUNER_FACTORY_CMD_NAME = 0,
    E_HW_TUNER_FACTORY_CMD_VERSION = 1,
    E_HW_TUNER_FACTORY_CMD_BUILD_NUMBER = 2,
    E_HW_TUNER_FACTORY_CMD_CHANGE_LIST = 3,
    E_HW_TUNER_FACTORY_CMD_FORCE_U32 = 0x7FFFFFFF
} HW_TUNER_FactoryCmd_e;
#define HW_TUNER_TEXT_SIZE 1024u  // bytes, with NUL

typedef struct HW_TUNER_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_TUNER_InitParams_t;
typedef struct HW_TUNER_HandleParams_t {
    HW_U32 u32Slot;
} HW_TUNER_HandleParams_t;
typedef struct HW_TUNER_OpenParams_t {
    HW_U32 u32Slot;  //  0
    HW_U32 u32Mode;  //  4  always 1
} HW_TUNER_OpenParams_t;
typedef struct HW_TUNER_Caps_t {
    HW_U32 u32SlotNum;       //  0  number of tuner slots
    HW_U32 au32Reserved[3];  //  4
} HW_TUNER_Caps_t;
HW_ASSERT_SIZE(HW_TUNER_InitParams_t, 4);
HW_ASSERT_SIZE(HW_TUNER_HandleParams_t, 4);
HW_ASSERT_SIZE(HW_TUNER_OpenParams_t, 8);
HW_ASSERT_SIZE(HW_TUNER_Caps_t, 16);

HW_API HW_Result_t HW_TUNER_Init(const HW_TUNER_InitParams_t* pstParams);
HW_API HW_Result_t HW_TUNER_GetCaps(HW_TUNER_Caps_t* pstCaps);
HW_API HW_Result_t HW_TUNER_GetHandle(const HW_TUNER_HandleParams_t* pstParams, HW_Handle_t* phTuner);
HW_API HW_Result_t HW_TUNER_Open(const HW_TUNER_OpenParams_t* pstParams, HW_Handle_t* phTuner);
HW_API HW_Result_t HW_TUNER_GetAttr(HW_Handle_t hTuner, HW_U32 u32Attr, const void* pInput, void* pOutput);
HW_API HW_Result_t HW_TUNER_FactoryCmdGetAttr(HW_Handle_t hTuner, HW_U32 u32Cmd, const void* pInput, void* pOutput);

// Non-zero is success, 0 is failure: the only function of the interface whose result reads so, hence no HW_Result_t.
// Applying takes two calls, step 1 first, then step 0.
HW_API HW_U32 HW_TUNER_FactoryCmdApplyVif(HW_Handle_t hTuner, HW_U32 u32Step);

// HW_OK = locked.
HW_API HW_Result_t HW_TUNER_GetLock(HW_Handle_t hTuner);

// Bit error rate; HW_ERR_FAILED while the tuner is not locked.
HW_API HW_Result_t HW_TUNER_GetBer(HW_Handle_t hTuner, HW_S32* ps32Ber);

#ifdef __cplusplus
}
#endif

#endif
