// SPDX-License-Identifier: Apache-2.0
// Network interfaces. There is no look-up: a caller keeps the handle of its own Open.
#ifndef HW3_HW_NET_H
#define HW3_HW_NET_H

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

#define HW_NET_INTERFACE_MAX 20u
#define HW_NET_INTERFACE_NAME_SIZE 16u  // bytes, with NUL

typedef enum HW_NET_IpVersion_e { E_HW_NET_IPV4 = 0, E_HW_NET_IP_FORCE_U32 = 0x7FFFFFFF } HW_NET_IpVersion_e;

typedef struct HW_NET_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_NET_InitParams_t;
typedef struct HW_NET_InterfaceName_t {
    char acName[16];  // NUL-terminated
} HW_NET_InterfaceName_t;
typedef struct HW_NET_OpenParams_t {
    char acName[16];  // NUL-terminated
} HW_NET_OpenParams_t;
HW_ASSERT_SIZE(HW_NET_InitParams_t, 4);
HW_ASSERT_SIZE(HW_NET_InterfaceName_t, 16);
HW_ASSERT_SIZE(HW_NET_OpenParams_t, 16);

// MAC addresses survive a power cycle; DHCP and up or down do not.
// Null means defaults, and so does a zero-filled record.
HW_API HW_Result_t HW_NET_Init(const HW_NET_InitParams_t* pstParams);
HW_API HW_Result_t HW_NET_DeInit(void);

// pstList: room for HW_NET_INTERFACE_MAX names. *pu32Count: names written, at most that many.
HW_API HW_Result_t HW_NET_GetInterfaceName(HW_NET_InterfaceName_t* pstList, HW_U32* pu32Count);

HW_API HW_Result_t HW_NET_Open(const HW_NET_OpenParams_t* pstParams, HW_Handle_t* phNet);
HW_API HW_Result_t HW_NET_Close(HW_Handle_t hNet);

// u32IpVersion: HW_NET_IpVersion_e. Off when it is off and on when it is on answer HW_ERR_FAILED.
HW_API HW_Result_t HW_NET_DhcpOff(HW_Handle_t hNet, HW_U32 u32IpVersion);
HW_API HW_Result_t HW_NET_DhcpOn(HW_Handle_t hNet, HW_U32 u32IpVersion);

// pszMac: six pairs of hexadecimal digits, all with ":" or all with "-" between them. The address of a group (first
// byte odd) answers HW_ERR_INVALID_PARAMETER.
HW_API HW_Result_t HW_NET_SetMac(HW_Handle_t hNet, const char* pszMac);

HW_API HW_Result_t HW_NET_DeviceUp(HW_Handle_t hNet);
HW_API HW_Result_t HW_NET_DeviceDown(HW_Handle_t hNet);

#ifdef __cplusplus
}
#endif

#endif
