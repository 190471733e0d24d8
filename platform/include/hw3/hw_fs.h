// SPDX-License-Identifier: Apache-2.0
// Files. Namesakes of POSIX and stdio functions: apart from HW_FS_Init they return what those return and not an
// HW_Result_t, they set errno on failure, and they work at any time, even before HW_SYS_Init.
//
// Descriptors are those of the process, so that one that open() gave for writing may be written and closed here.
// Streams are stdio streams, and only those of HW_FS_Fopen. Others fail with EBADF, and so does what was open before a
// power cycle.
#ifndef HW3_HW_FS_H
#define HW3_HW_FS_H

#include <stdio.h>
#include <sys/stat.h>

#include "hw3/hw_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct HW_FS_InitParams_t {
    HW_U32 u32Reserved;  // must be 0
} HW_FS_InitParams_t;
HW_ASSERT_SIZE(HW_FS_InitParams_t, 4);

HW_API HW_Result_t HW_FS_Init(const HW_FS_InitParams_t* pstParams);

// s32Flags: 0 read only, 2 read and write, no others. Returns a descriptor of 0 or more, -1 when the file does not
// exist, -2 on any other failure. Where this is plain open(), every failure is -1 and counts as an absent file.
HW_API HW_S32 HW_FS_Open(const char* pszPath, HW_S32 s32Flags);

// 0, or -1.
HW_API HW_S32 HW_FS_Close(HW_S32 s32Fd);

// Bytes written, or -1.
HW_API HW_S32 HW_FS_Write(HW_S32 s32Fd, const void* pData, HW_U32 u32Size);

// Null on failure.
HW_API FILE* HW_FS_Fopen(const char* pszPath, const char* pszMode);

// 0, or -1.
HW_API HW_S32 HW_FS_Fclose(FILE* pStream);

// Members of u32Size bytes transferred, or -1: one member of 4096 bytes gives 1.
HW_API HW_S32 HW_FS_Fread(void* pData, HW_U32 u32Size, HW_U32 u32Count, FILE* pStream);
HW_API HW_S32 HW_FS_Fwrite(const void* pData, HW_U32 u32Size, HW_U32 u32Count, FILE* pStream);

// These return 0, or -1.
HW_API HW_S32 HW_FS_Fseek(FILE* pStream, HW_S64 s64Offset, HW_S32 s32Whence);
HW_API HW_S32 HW_FS_Stat(const char* pszPath, struct stat* pstStat);
HW_API HW_S32 HW_FS_MkDir(const char* pszPath, HW_U32 u32Mode);
HW_API HW_S32 HW_FS_Unlink(const char* pszPath);
// What was changed before HW_FS_Sync survives a power cut.
HW_API HW_S32 HW_FS_Sync(void);

#ifdef __cplusplus
}
#endif

#endif
