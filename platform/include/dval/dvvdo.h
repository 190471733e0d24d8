// SPDX-License-Identifier: Apache-2.0
// Video drivers: picture-quality arguments and overscan of a window. Works after DVAL_Init.
#ifndef DVAL_DVVDO_H
#define DVAL_DVVDO_H

#include "dval/dval.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum DVVDO_Arg_e {
    E_DVVDO_ARG_0 = 0,
    E_DVVDO_ARG_1 = 1,
    E_DVVDO_ARG_2 = 2,
    E_DVVDO_ARG_3 = 3,
    E_DVVDO_ARG_5 = 5,
    E_DVVDO_ARG_21 = 21,
    E_DVVDO_ARG_FORCE_U32 = 0x7FFFFFFF
} DVVDO_Arg_e;

// 16 bytes; a member's comment is its offset.
typedef struct DVVDO_OverScan_t {
    int s32Top;     //  0
    int s32Bottom;  //  4
    int s32Left;    //  8
    int s32Right;   // 12
} DVVDO_OverScan_t;

// u32Window: 0. Reset makes the drivers read their parameters anew.
DVAL_API DVAL_Result_t DVVDO_Reset(unsigned int u32Window);

// u32Arg: DVVDO_Arg_e.
DVAL_API DVAL_Result_t DVVDO_SetArg(unsigned int u32Window, unsigned int u32Arg, unsigned int u32Value);
DVAL_API DVAL_Result_t DVVDO_SetOverScan(unsigned int u32Window, const DVVDO_OverScan_t* pstOverScan);

#ifdef __cplusplus
}
#endif

#endif
