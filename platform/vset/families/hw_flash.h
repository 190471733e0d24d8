// SPDX-License-Identifier: Apache-2.0
// Declarations that the sources of the flash family share.
#ifndef VSET_HW_FLASH_H
#define VSET_HW_FLASH_H

#include "hw3/hw_flash.h"
#include "vset_call.h"
#include "vset_family.h"

namespace vset {

// The flash model. The key of a handle is its flash type.
class FlashModel : public FamilyModel {
public:
    FlashModel() : FamilyModel(FamilyId::flash, "HW_FLASH") {}

    // Held while a file of the flash is used.
    std::mutex storageMutex;
};
extern FlashModel& flashModel;

// Throws SetError when there is no such flash.
void requireFlash(std::uint32_t u32FlashType);

// Thrown when a file of the set's folder has impossible contents.
class DamagedFile : public SetError {
public:
    using SetError::SetError;
};

// A file of the set's folder that has one size or does not exist.
class FlashFile {
public:
    // Throws DamagedFile when the file has another size.
    FlashFile(const std::string& strFile, std::uint64_t u64Size, int s32Flags);
    ~FlashFile();
    FlashFile(const FlashFile&) = delete;
    FlashFile& operator=(const FlashFile&) = delete;

    bool exists() const { return _s32Fd >= 0; }
    void read(void* pData, std::size_t size, std::uint64_t u64Offset) const;
    void write(const void* pData, std::size_t size, std::uint64_t u64Offset) const;
    void writeBlank(std::uint64_t u64Size, std::uint64_t u64Offset) const;

private:
    const std::string _strFile;
    const int _s32Fd;
};

// Returns the result of `body`, which uses files of the flash one call at a time; HW_ERR_DATA_ERROR, with one line on
// standard error, when one is damaged.
template <class Body>
HW_Result_t withFlashFiles(Body&& body) {
    const std::lock_guard<std::mutex> lock(flashModel.storageMutex);
    try {
        return body();
    } catch (const DamagedFile& error) {
        std::fprintf(stderr, "virtual set: %s\n", error.what());
        return HW_ERR_DATA_ERROR;
    }
}

}  // namespace vset

#endif
