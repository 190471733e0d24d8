// SPDX-License-Identifier: Apache-2.0
// Flash: its handles and its files.
#include "hw_flash.h"

#include <algorithm>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "vset/flash.h"
#include "vset_folder.h"
#include "vset_storage.h"

namespace vset {

namespace {

int openIfExists(const std::string& strFile, int s32Flags) {
    const int s32Fd = open(strFile.c_str(), s32Flags | O_CLOEXEC);
    if (s32Fd < 0 && errno != ENOENT) {
        failWith(strFile);
    }
    return s32Fd;
}

}  // namespace

FlashModel& flashModel = *new FlashModel;

FlashFile::FlashFile(const std::string& strFile, std::uint64_t u64Size, int s32Flags)
    : _strFile(strFile), _s32Fd(openIfExists(strFile, s32Flags)) {
    struct stat stStat = {};
    if (exists() && (fstat(_s32Fd, &stStat) != 0 || static_cast<std::uint64_t>(stStat.st_size) != u64Size)) {
        close(_s32Fd);
        throw DamagedFile(_strFile + ": has " + std::to_string(stStat.st_size) + " bytes instead of " +
                          std::to_string(u64Size));
    }
}

FlashFile::~FlashFile() {
    if (exists()) {
        close(_s32Fd);
    }
}

void FlashFile::read(void* pData, std::size_t size, std::uint64_t u64Offset) const {
    auto* pu8Data = static_cast<unsigned char*>(pData);
    while (size != 0) {
        const ssize_t length = pread(_s32Fd, pu8Data, size, static_cast<off_t>(u64Offset));
        if (length < 0) {
            failWith(_strFile);
        }
        if (length == 0) {
            throw DamagedFile(_strFile + ": ends early");
        }
        pu8Data += length;
        size -= static_cast<std::size_t>(length);
        u64Offset += static_cast<std::uint64_t>(length);
    }
}

void FlashFile::write(const void* pData, std::size_t size, std::uint64_t u64Offset) const {
    writeBlocks(_s32Fd, _strFile, pData, size, u64Offset);
}

void FlashFile::writeBlank(std::uint64_t u64Size, std::uint64_t u64Offset) const {
    vset::writeBlank(_s32Fd, _strFile, u64Size, u64Offset);
}

void requireFlash(std::uint32_t u32FlashType) {
    requireSet();
    if (u32FlashType > E_HW_FLASH_TYPE_EMMC) {
        throw SetError("flash type " + std::to_string(u32FlashType) + ": there are only 0, 1 and 2");
    }
}

void flash::hold(std::uint32_t u32FlashType) {
    requireFlash(u32FlashType);
    flashModel.hold(u32FlashType, "flash type " + std::to_string(u32FlashType));
}

void flash::release(std::uint32_t u32FlashType) {
    requireFlash(u32FlashType);
    flashModel.release(u32FlashType, "flash type " + std::to_string(u32FlashType));
}

}  // namespace vset

using vset::flashModel;

namespace {

// Checks the parameters of GetHandle and Open.
template <class Params>
HW_Result_t judge(const Params* pstParams, const HW_Handle_t* phFlash) {
    const auto isZero = [](HW_U8 u8Byte) { return u8Byte == 0; };
    if (pstParams == nullptr || phFlash == nullptr || pstParams->u32FlashType > E_HW_FLASH_TYPE_EMMC ||
        !std::all_of(std::begin(pstParams->au8Name), std::end(pstParams->au8Name), isZero)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    return flashModel.readiness();
}

}  // namespace

HW_Result_t HW_FLASH_Init(const HW_FLASH_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t { return flashModel.initialise(pstParams); });
}

HW_Result_t HW_FLASH_GetHandle(const HW_FLASH_HandleParams_t* pstParams, HW_Handle_t* phFlash) {
    return vset::call(__func__, {pstParams, phFlash}, [&]() -> HW_Result_t {
        const HW_Result_t result = judge(pstParams, phFlash);
        return result == HW_OK ? flashModel.handles().find(pstParams->u32FlashType, phFlash) : result;
    });
}

HW_Result_t HW_FLASH_Open(const HW_FLASH_OpenParams_t* pstParams, HW_Handle_t* phFlash) {
    return vset::call(__func__, {pstParams, phFlash}, [&]() -> HW_Result_t {
        const HW_Result_t result = judge(pstParams, phFlash);
        return result == HW_OK ? flashModel.handles().open(pstParams->u32FlashType, phFlash) : result;
    });
}

HW_Result_t HW_FLASH_Close(HW_Handle_t hFlash) {
    return vset::call(__func__, {hFlash}, [&]() -> HW_Result_t { return flashModel.handles().close(hFlash); });
}
