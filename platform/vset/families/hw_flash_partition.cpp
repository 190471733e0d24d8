// SPDX-License-Identifier: Apache-2.0
// Partitions of the eMMC. A partition's file appears with the first write; until then it reads as erased.
#include <cstring>
#include <filesystem>

#include <fcntl.h>

#include "hw_flash.h"
#include "vset/flash.h"
#include "vset_folder.h"
#include "vset_storage.h"

namespace fs = std::filesystem;
using vset::flashModel;

namespace {

using Partitions = std::map<std::string, std::uint64_t>;

// Checks the parameters of Read and Write. *pu64Size is the partition's size on success.
HW_Result_t judge(HW_Handle_t hFlash, const HW_FLASH_Transfer_t* pstTransfer, const HW_U32* pu32Report,
                  std::uint64_t* pu64Size) {
    const auto type = flashModel.handles().key(hFlash);
    if (!type) {
        return HW_ERR_INVALID_HANDLE;
    }
    if (pstTransfer == nullptr || pu32Report == nullptr || pstTransfer->pu8PartitionName == nullptr ||
        (pstTransfer->pu8Data == nullptr && pstTransfer->u32Length != 0)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    if (*type != E_HW_FLASH_TYPE_EMMC || pstTransfer->u32FlashType != E_HW_FLASH_TYPE_EMMC) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const Partitions partitions = vset::setConfig().partitions;
    const auto found = partitions.find(reinterpret_cast<const char*>(pstTransfer->pu8PartitionName));
    if (found == partitions.end()) {
        return HW_ERR_INVALID_PARAMETER;
    }
    *pu64Size = found->second;
    const std::uint64_t u64End = std::uint64_t{pstTransfer->u32Offset} + pstTransfer->u32Length;
    return u64End <= *pu64Size ? HW_OK : HW_ERR_LIMITION;
}

std::string fileOf(const HW_FLASH_Transfer_t& stTransfer) {
    return vset::partitionFile(reinterpret_cast<const char*>(stTransfer.pu8PartitionName));
}

void readPartition(const HW_FLASH_Transfer_t& stTransfer, std::uint64_t u64Size) {
    const vset::FlashFile file(fileOf(stTransfer), u64Size, O_RDONLY);
    if (file.exists()) {
        file.read(stTransfer.pu8Data, stTransfer.u32Length, stTransfer.u32Offset);
    } else {
        std::memset(stTransfer.pu8Data, 0xFF, stTransfer.u32Length);
    }
}

void writePartition(const HW_FLASH_Transfer_t& stTransfer, std::uint64_t u64Size) {
    const std::string strFile = fileOf(stTransfer);
    if (!vset::FlashFile(strFile, u64Size, O_RDONLY).exists()) {
        vset::replaceFileWithBlank(strFile, u64Size);
    }
    const vset::FlashFile file(strFile, u64Size, O_WRONLY);
    file.write(stTransfer.pu8Data, stTransfer.u32Length, stTransfer.u32Offset);
}

template <class Transfer>
HW_Result_t transfer(HW_Handle_t hFlash, const HW_FLASH_Transfer_t* pstTransfer, HW_U32* pu32Report, Transfer&& body) {
    std::uint64_t u64Size = 0;
    const HW_Result_t result = judge(hFlash, pstTransfer, pu32Report, &u64Size);
    if (result != HW_OK) {
        return result;
    }
    return vset::withFlashFiles([&]() -> HW_Result_t {
        if (pstTransfer->u32Length != 0) {
            body(*pstTransfer, u64Size);
        }
        *pu32Report = pstTransfer->u32Length;
        return HW_OK;
    });
}

}  // namespace

HW_Result_t HW_FLASH_Read(HW_Handle_t hFlash, const HW_FLASH_Transfer_t* pstTransfer, HW_U32* pu32Report) {
    return vset::call(__func__, {hFlash, pstTransfer, pu32Report},
                      [&]() -> HW_Result_t { return transfer(hFlash, pstTransfer, pu32Report, readPartition); });
}

HW_Result_t HW_FLASH_Write(HW_Handle_t hFlash, const HW_FLASH_Transfer_t* pstTransfer, HW_U32* pu32Report) {
    return vset::call(__func__, {hFlash, pstTransfer, pu32Report},
                      [&]() -> HW_Result_t { return transfer(hFlash, pstTransfer, pu32Report, writePartition); });
}

std::map<std::string, std::uint64_t> vset::flash::partitions() {
    requireSet();
    return setConfig().partitions;
}

std::map<std::string, std::uint64_t> vset::flash::partitions(const std::string& strFolder) {
    const HostPaths hostPaths;
    const std::string strAbsolute = absoluteFolder(strFolder);
    if (!isSet(strAbsolute)) {
        throw SetError(strAbsolute + ": is no set");
    }
    std::vector<std::string> problems;
    return readConfig(strAbsolute, problems).partitions;
}

void vset::flash::setPartition(const std::string& strName, std::uint64_t u64Size) {
    requireSet();
    if (!isPartitionName(strName) || u64Size > kPartitionLimit) {
        throw SetError("partition \"" + strName + "\", " + std::to_string(u64Size) + " bytes: wrong name or size");
    }
    const std::lock_guard<std::mutex> lock(flashModel.storageMutex);
    const HostPaths hostPaths;
    const std::string strFile = partitionFile(strName);
    const bool bWritten = fs::exists(strFile);
    if (bWritten) {
        writeFileResized(strFile, resizedPartition(strFile), u64Size);
    }
    // A power cut before this write leaves the old size with the old file, one after it the new size with the new file.
    changeSetConfig([&](SetConfig& stConfig) { stConfig.partitions[strName] = u64Size; });
    if (bWritten) {
        moveFile(resizedPartition(strFile), strFile);
    }
}
