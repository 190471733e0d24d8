// SPDX-License-Identifier: Apache-2.0
// Memory behind physical addresses, and delays.
#ifndef HW3_HW_OS_H
#define HW3_HW_OS_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct HW_OS_IommuRequest_t {
    char acName[32];     //  0  purpose, zero-padded
    HW_U32 u32Length;    // 32  bytes, a multiple of 0x4000
    HW_U32 u32Word1;     // 36  always 1
    HW_U32 u32Word0;     // 40  always 0
    HW_U64 u64PhysAddr;  // 48  out
} HW_OS_IommuRequest_t;
HW_ASSERT_SIZE(HW_OS_IommuRequest_t, 56);

typedef struct HW_OS_IommuRelease_t {
    HW_U64 u64PhysAddr;  //  0
    HW_U32 u32Length;    //  8  bytes, as allocated
    HW_U32 u32Reserved;  // 12  must be 0
} HW_OS_IommuRelease_t;
HW_ASSERT_SIZE(HW_OS_IommuRelease_t, 16);

// Another length or other words answer HW_ERR_INVALID_PARAMETER. The caller owns the memory until
// HW_OS_FreeIommuMemory, which needs exactly the address and the length of the allocation.
HW_API HW_Result_t HW_OS_AllocateIommuMemory(HW_OS_IommuRequest_t* pstRequest);
HW_API HW_Result_t HW_OS_FreeIommuMemory(const HW_OS_IommuRelease_t* pstRelease);

// The address under which a process reaches allocated memory or a memory region.
HW_API HW_Result_t HW_OS_Pa2NonCachedVa(HW_U64 u64PhysAddr, HW_U64* pu64VirtAddr);

// Sleeps. Works at any time, even before HW_SYS_Init.
HW_API HW_Result_t HW_OS_DelayTask(HW_U32 u32Ms);

#ifdef __cplusplus
}
#endif

#endif
