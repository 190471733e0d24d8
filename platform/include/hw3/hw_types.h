// SPDX-License-Identifier: Apache-2.0
// Basic types and result codes of the middleware interface, and what holds for every function of it.
//
// Outputs. On failure nothing is written: handles, values and records keep what the caller put there. On success
// every output is written completely.
//
// Initialisation. HW_SYS_Init comes first. Only HW_FS_* and HW_OS_DelayTask work without it.
//   - HW_SAR, HW_GPIO, HW_DISP, HW_VIDEO, HW_CAP, HW_OS and the rest of HW_SYS need nothing more; of these only HW_SYS
//     has an Init.
//   - HW_PM and HW_OSD have an Init, but work without it.
//   - HW_FLASH, HW_WDT, HW_AUDIO, HW_AOUT, HW_UART, HW_IIC, HW_EXTIN, HW_CEC, HW_PWM, HW_TUNER, HW_NET and HW_DISPOUT
//     need their own Init. Without it Open, GetHandle, GetCaps and the functions that take no handle answer
//     HW_ERR_NOT_INITED. Functions on a handle check the handle alone: that of an external input may come from
//     HW_DISP_GetConnected, without HW_EXTIN_Init.
// A second Init of a family answers HW_HAS_INITED. An Init takes a record and never null, unless it says otherwise.
// What another user of the middleware has opened stays open across a DeInit, and its handle stays valid.
//
// Opening. GetHandle succeeds exactly when something is open under the key, and gives the handle that Open gave; else
// it answers HW_ERR_FAILED. Open of a key that is open already answers HW_ERR_BUSY; the SAR keypad is the one
// exception.
//
// Handles. Never 0, bit 31 never set, never a value that another family also uses, never used again within a process.
// A closed handle, a second Close and a handle of another family give HW_ERR_INVALID_HANDLE. Closing or destroying what
// another user of the middleware has opened answers HW_ERR_INVALID_HANDLE too, and it stays open; only HW_AOUT, HW_IIC
// and HW_UART close it.
//
// Records are read during the call only, and so is what they point at. Exceptions: a registered callback, the keypad
// configuration of HW_SAR_Open, which is read until the next open, and the text that HW_SYS_GetConfigData returns. An
// unknown key, a value out of range, a null pointer where none is allowed and anything else in a field of which the
// header says "always", "must be" or "empty" give HW_ERR_INVALID_PARAMETER.
//
// Attributes. pParam of SetAttr and pOutput of GetAttr point at the type that is given with the attribute's number.
// pInput of GetAttr is the input of the query. For an attribute that has none it is null, any other pointer answers
// HW_ERR_INVALID_PARAMETER; HW_AOUT_GetAttr alone does not check it. An unknown attribute, and one
// that can only be set or only be read, answers HW_ERR_NOT_SUPPORT.
//
// Numbers. Attributes, types, ports and the like travel as HW_U32; an enumeration only names the values, and its last
// enumerator makes room for every 31-bit value. Flags are 0 or 1, others answer HW_ERR_INVALID_PARAMETER. Fields of
// sound effects and of panel attributes are taken as they come.
//
// Threads. Every function may be called from any thread. A callback runs on a thread of the middleware with no lock of
// the middleware held; the calls of one registration never overlap and keep their order. UnRegisterCallback returns
// only when no callback of that registration runs or will start, so that the caller may then free what the callback
// uses. Called from inside that callback it answers HW_ERR_BUSY.
#ifndef HW3_HW_TYPES_H
#define HW3_HW_TYPES_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

// Default visibility, in front of every function: an implementation built with hidden visibility exports exactly these.
#define HW_API __attribute__((visibility("default")))

typedef unsigned char HW_U8;
typedef signed char HW_S8;
typedef unsigned short HW_U16;
typedef signed short HW_S16;
typedef unsigned int HW_U32;
typedef signed int HW_S32;
typedef unsigned long long HW_U64;  // never uint64_t: addresses are printed with %llx
typedef signed long long HW_S64;

typedef HW_U32 HW_Handle_t;  // 0 = no handle
typedef HW_U32 HW_Result_t;  // unsigned, so that "above HW_HAS_INITED" means failure

#define HW_HANDLE_NONE 0u

// Result codes. Macros and not an enumeration, so that a conditional expression may mix them with results without a
// warning.
#define HW_OK 0x0u                     // done
#define HW_CONTINUE 0x1u               // no error, but not done yet
#define HW_HAS_INITED 0x2u             // Init of a family that is initialised already
#define HW_ERR_FAILED 0x3u             // nothing open under the key, nothing of that name, any other refusal
#define HW_ERR_NOT_INITED 0x4u         // the family's Init has not run
#define HW_ERR_NOT_SUPPORT 0x5u        // unknown attribute; output timing that the panel cannot show
#define HW_ERR_NOT_IMPLEMENT 0x6u      // not implemented on this chip
#define HW_ERR_INVALID_HANDLE 0x7u     // 0, closed, of another family, or not the caller's to close
#define HW_ERR_INVALID_PARAMETER 0x8u  // null where not allowed, unknown key, value out of range, wrong fixed field
#define HW_ERR_RESOURCES 0x9u          // no free slot
#define HW_ERR_MEMORY_ALLOCATE 0xAu    // memory exhausted
#define HW_ERR_CHAOS 0xBu              // state machine out of step
#define HW_ERR_DATA_ERROR 0xCu         // environment image with a wrong checksum; file that is not what it should be
#define HW_ERR_TIMEOUT 0xDu            // no answer in time
#define HW_ERR_LIMITION 0xEu           // transfer beyond a partition or a buffer
#define HW_ERR_BUSY 0xFu               // open already; unregistering from inside the callback

// Size check, one per record, in the header that declares the record. Sizes are those of a 64-bit machine (LP64); a
// 32-bit build is outside the interface. Records have natural alignment; the number in front of a member's comment is
// its offset in bytes.
#if defined(__cplusplus)
#define HW_ASSERT_SIZE(type, bytes) \
    static_assert(sizeof(void*) != 8 || sizeof(type) == (bytes), #type " must have " #bytes " bytes")
#else
#define HW_ASSERT_SIZE(type, bytes) \
    _Static_assert(sizeof(void*) != 8 || sizeof(type) == (bytes), #type " must have " #bytes " bytes")
#endif

#ifdef __cplusplus
}
#endif

#endif
