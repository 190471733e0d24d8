// SPDX-License-Identifier: Apache-2.0
// HW_SYS, HW_FLASH, HW_FS, HW_OS.
#include "describe.h"
#include "hw3/hw_flash.h"
#include "hw3/hw_fs.h"
#include "hw3/hw_os.h"
#include "hw3/hw_sys.h"

namespace vset {

// Found through the type of their first argument, hence outside the namespace of the words.
static void fields(CallText& text, const HW_SYS_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_FLASH_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_FS_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_SYS_MmapInfo_t& st) {
    text.number("miuBase", st.u64MiuBase);
    text.number("offset", st.u64Offset);
    text.number("length", st.u32Length);
    text.number("id", st.u32MmapId);
    text.number("miu", st.u32Miu);
    text.number("alignment", st.u32Alignment);
    text.text("name", st.au8Name, sizeof(st.au8Name));
}
static void fields(CallText& text, const HW_SYS_ConfigData_t& st) {
    text.number("type", st.u32Type);
    text.number("length", st.u32Length);
    text.text("data", st.pu8Data, st.u32Length);
}
static void fields(CallText& text, const HW_FLASH_HandleParams_t& st) {
    text.number("type", st.u32FlashType);
    text.text("name", st.au8Name, sizeof(st.au8Name));
}
static void fields(CallText& text, const HW_FLASH_OpenParams_t& st) {
    text.number("type", st.u32FlashType);
    text.text("name", st.au8Name, sizeof(st.au8Name));
}
static void fields(CallText& text, const HW_FLASH_Transfer_t& st) {
    text.number("type", st.u32FlashType);
    text.text("partition", st.pu8PartitionName);
    text.number("offset", st.u32Offset);
    text.number("length", st.u32Length);
    text.presence("buffer", st.pu8Data != nullptr);
}
static void fields(CallText& text, const HW_OS_IommuRelease_t& st) {
    text.handle("physAddr", st.u64PhysAddr);
    text.number("length", st.u32Length);
    text.number("reserved", st.u32Reserved);
}

namespace describe {

namespace {

// Describes the transferred bytes. Only a transfer that succeeded is known to have had a buffer of its length.
Parameter transfer() {
    return inputAndOutput(
        [](CallText& text, const ArgumentValues& values) {
            writeTarget(text, "transfer", valueOf<const HW_FLASH_Transfer_t*>(values[1]));
        },
        [](CallText& text, const ArgumentValues& values) {
            const auto* const pst = valueOf<const HW_FLASH_Transfer_t*>(values[1]);
            text.bytes("data", pst != nullptr ? pst->pu8Data : nullptr, pst != nullptr ? pst->u32Length : 0);
        });
}

void writeKey(CallText& text, const ArgumentValues& values) {
    const auto* const pst = valueOf<const HW_FLASH_EnvVar_t*>(values[1]);
    text.presence("image", pst != nullptr && pst->pu8EnvImage != nullptr);
    text.text("key", pst != nullptr ? pst->pu8Key : nullptr);
}
void writeValue(CallText& text, const ArgumentValues& values) {
    const auto* const pst = valueOf<const HW_FLASH_EnvVar_t*>(values[1]);
    text.text("value", pst != nullptr ? pst->pu8Value : nullptr);
}
void writeKeyAndValue(CallText& text, const ArgumentValues& values) {
    writeKey(text, values);
    writeValue(text, values);
}
void writeImage(CallText& text, const ArgumentValues& values) {
    text.bytes("image", valueOf<const void*>(values[1]), HW_FLASH_ENV_IMAGE_SIZE);
}

void writeRequest(CallText& text, const ArgumentValues& values) {
    static const HW_SYS_AttrBuffer_t kEmpty{};
    const auto* const pst = text.wantsAll() ? &kEmpty : valueOf<const HW_SYS_AttrBuffer_t*>(values[1]);
    if (pst == nullptr) {
        return text.null("param");
    }
    text.presence("buffer", pst->pBuffer != nullptr);
    text.number("bufferSize", pst->u32BufferSize);
}
void writeAnswer(CallText& text, const ArgumentValues& values) {
    const auto* const pst = valueOf<const HW_SYS_AttrBuffer_t*>(values[1]);
    if (text.wantsAll() || values[0] == E_HW_SYS_ATTR_CUSTOMER_HASH) {
        text.bytes("hash", pst != nullptr ? pst->pBuffer : nullptr, pst != nullptr ? pst->u32CopiedSize : 0);
    }
    if (text.wantsAll() || values[0] != E_HW_SYS_ATTR_CUSTOMER_HASH) {
        text.text("path", pst != nullptr ? pst->pBuffer : nullptr, pst != nullptr ? pst->u32BufferSize : 0);
    }
}

// The record of a query, whose text is not to be read: it may be an earlier answer's.
void writeQuestion(CallText& text, const ArgumentValues& values) {
    static const HW_SYS_ConfigData_t kEmpty{};
    const auto* const pst = text.wantsAll() ? &kEmpty : valueOf<const HW_SYS_ConfigData_t*>(values[2]);
    if (pst == nullptr) {
        return text.null("data");
    }
    text.number("type", pst->u32Type);
    text.number("length", pst->u32Length);
    text.presence("data", pst->pu8Data != nullptr);
}

void writeIommuRequest(CallText& text, const ArgumentValues& values) {
    static const HW_OS_IommuRequest_t kEmpty{};
    const auto* const pst = text.wantsAll() ? &kEmpty : valueOf<const HW_OS_IommuRequest_t*>(values[0]);
    if (pst == nullptr) {
        return text.null("request");
    }
    text.text("name", pst->acName, sizeof(pst->acName));
    text.number("length", pst->u32Length);
    text.number("word1", pst->u32Word1);
    text.number("word0", pst->u32Word0);
}
void writeIommuAddress(CallText& text, const ArgumentValues& values) {
    const auto* const pst = valueOf<const HW_OS_IommuRequest_t*>(values[0]);
    text.handle("physAddr", pst != nullptr ? pst->u64PhysAddr : 0);
}

// Writes the bytes that were transferred to or from a stream; the result counts members.
WriteArgument members() {
    return [](CallText& text, const ArgumentValues& values) {
        text.bytes("data", valueOf<const void*>(values[0]), values[1] * static_cast<std::uint64_t>(values.s64Result));
    };
}

WriteArgument address(const char* pszName, std::size_t index) {
    return [=](CallText& text, const ArgumentValues& values) { text.handle(pszName, values[index]); };
}
WriteArgument storedAddress(const char* pszName, std::size_t index) {
    return [=](CallText& text, const ArgumentValues& values) {
        const auto* const pu64 = valueOf<const HW_U64*>(values[index]);
        pu64 != nullptr ? text.handle(pszName, *pu64) : text.null(pszName);
    };
}

}  // namespace

std::vector<CallDescription> storage() {
    return {
        VSET_DESCRIBE(HW_SYS_Init, "params"),
        VSET_DESCRIBE(HW_SYS_GetAttr, "attr", inputAndOutput(writeRequest, writeAnswer)),
        VSET_DESCRIBE(HW_SYS_SetMiuSsc, "miu", "freq", "ratio", "enable"),
        VSET_DESCRIBE(HW_SYS_UpgradeFw, "type", "path"),
        VSET_DESCRIBE(HW_SYS_OpenConfigFile, "path", handle()),
        lookUp(VSET_DESCRIBE(HW_SYS_GetConfigData, handle(), "key",
                             inputAndOutput(writeQuestion,
                                            [](CallText& text, const ArgumentValues& values) {
                                                writeTarget(text, "data",
                                                            valueOf<const HW_SYS_ConfigData_t*>(values[2]));
                                            }))),
        VSET_DESCRIBE(HW_SYS_SetConfigData, handle(), "key", "data"),
        VSET_DESCRIBE(HW_SYS_CloseConfigFile, handle()),
        VSET_DESCRIBE(HW_SYS_AllocateMmapLayout, "id", "info"),
        VSET_DESCRIBE(HW_SYS_GetMmapLayout, "id", "info"),
        VSET_DESCRIBE(HW_SYS_FreeMmapLayout, "id"),
        VSET_DESCRIBE(hw_sys_ReadReg, "bank", "offset", "value"),
        VSET_DESCRIBE(hw_sys_WriteReg, "bank", "offset", "value"),

        VSET_DESCRIBE(HW_FLASH_Init, "params"),
        lookUp(VSET_DESCRIBE(HW_FLASH_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_FLASH_Open, "params", handle()),
        VSET_DESCRIBE(HW_FLASH_Close, handle()),
        VSET_DESCRIBE(HW_FLASH_LoadEnv, handle(), output(writeImage)),
        VSET_DESCRIBE(HW_FLASH_StoreEnv, handle(), input(writeImage)),
        lookUp(VSET_DESCRIBE(HW_FLASH_GetEnvVar, handle(), inputAndOutput(writeKey, writeValue))),
        VSET_DESCRIBE(HW_FLASH_SetEnvVar, handle(), input(writeKeyAndValue)),
        VSET_DESCRIBE(HW_FLASH_Read, handle(), transfer(), "report"),
        VSET_DESCRIBE(HW_FLASH_Write, handle(), transfer(), "report"),

        VSET_DESCRIBE(HW_FS_Init, "params"),
        VSET_DESCRIBE(HW_FS_Open, "path", "flags"),
        VSET_DESCRIBE(HW_FS_Close, "fd"),
        VSET_DESCRIBE(HW_FS_Write, "fd", output([](CallText& text, const ArgumentValues& values) {
                          text.bytes("data", valueOf<const void*>(values[1]),
                                     static_cast<std::size_t>(values.s64Result));
                      }),
                      "size"),
        VSET_DESCRIBE(HW_FS_Fopen, "path", "mode"),
        VSET_DESCRIBE(HW_FS_Fclose, "stream"),
        VSET_DESCRIBE(HW_FS_Fread, output(members()), "size", "count", "stream"),
        VSET_DESCRIBE(HW_FS_Fwrite, output(members()), "size", "count", "stream"),
        VSET_DESCRIBE(HW_FS_Fseek, "stream", "offset", "whence"),
        VSET_DESCRIBE(HW_FS_Stat, "path", output([](CallText& text, const ArgumentValues& values) {
                          const auto* const pst = valueOf<const struct stat*>(values[1]);
                          text.number("size", pst != nullptr ? pst->st_size : 0);
                      })),
        VSET_DESCRIBE(HW_FS_MkDir, "path", "mode"),
        VSET_DESCRIBE(HW_FS_Unlink, "path"),
        VSET_DESCRIBE(HW_FS_Sync),

        VSET_DESCRIBE(HW_OS_AllocateIommuMemory, inputAndOutput(writeIommuRequest, writeIommuAddress)),
        VSET_DESCRIBE(HW_OS_FreeIommuMemory, "release"),
        VSET_DESCRIBE(HW_OS_Pa2NonCachedVa, input(address("physAddr", 0)), output(storedAddress("virtAddr", 1))),
        VSET_DESCRIBE(HW_OS_DelayTask, "ms"),
    };
}

}  // namespace describe

}  // namespace vset
