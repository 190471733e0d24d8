// SPDX-License-Identifier: Apache-2.0
// Memory clock spread, firmware and registers of the chip.
#include <array>
#include <filesystem>
#include <mutex>

#include <zlib.h>

#include "hw3/hw_sys.h"
#include "vset/sys.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"
#include "vset_paths.h"
#include "vset_storage.h"

namespace vset {

namespace {

using Register = std::pair<HW_U32, HW_U32>;  // bank, offset

// The chip: a part of the system that has no handles and is reset with the other parts.
class ChipModel : public FamilyModel {
public:
    ChipModel() : FamilyModel(FamilyId::sys, "chip") {}

    // Guards all members below.
    std::mutex mutex;
    std::array<sys::ClockSpread, sys::kMius> spreads;
    std::vector<sys::Firmware> firmware;
    std::map<Register, HW_U32> registers;

protected:
    void reset() override {
        const std::lock_guard<std::mutex> lock(mutex);
        spreads = {};
        firmware.clear();
        registers.clear();
    }
};
ChipModel& model = *new ChipModel;

HW_Result_t flash(HW_U32 u32FwType, const char* pszPath) {
    std::string strBuffer;
    const std::string strFile = toHost(pszPath, strBuffer);
    std::error_code error;
    if (!std::filesystem::is_regular_file(strFile, error)) {
        return HW_ERR_FAILED;
    }
    const std::vector<unsigned char> bytes = readFile(strFile);
    const uLong crc = crc32_z(crc32(0, nullptr, 0), bytes.data(), bytes.size());
    const std::lock_guard<std::mutex> lock(model.mutex);
    model.firmware.push_back({u32FwType, pszPath, bytes.size(), static_cast<std::uint32_t>(crc)});
    return HW_OK;
}

HW_U32 readRegister(const Register& address) {
    const std::lock_guard<std::mutex> lock(model.mutex);
    const auto found = model.registers.find(address);
    return found != model.registers.end() ? found->second : 0;
}

void writeRegister(const Register& address, HW_U32 u32Value) {
    const std::lock_guard<std::mutex> lock(model.mutex);
    model.registers[address] = u32Value;
}

}  // namespace

}  // namespace vset

using vset::model;

HW_Result_t HW_SYS_SetMiuSsc(HW_U32 u32Miu, HW_U16 u16Freq, HW_U16 u16Ratio, HW_U8 u8Enable) {
    return vset::call(__func__, {u32Miu, u16Freq, u16Ratio, u8Enable}, [&]() -> HW_Result_t {
        if (u32Miu >= vset::sys::kMius || u8Enable > 1) {
            return HW_ERR_INVALID_PARAMETER;
        }
        const HW_Result_t result = vset::systemReadiness();
        if (result == HW_OK) {
            const std::lock_guard<std::mutex> lock(model.mutex);
            model.spreads[u32Miu] = {u16Freq, u16Ratio, u8Enable != 0};
        }
        return result;
    });
}

HW_Result_t HW_SYS_UpgradeFw(HW_U32 u32FwType, const HW_U8* pu8Path) {
    return vset::call(__func__, {u32FwType, pu8Path}, [&]() -> HW_Result_t {
        if (u32FwType >= E_HW_SYS_FW_INVALID || pu8Path == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        const HW_Result_t result = vset::systemReadiness();
        return result == HW_OK ? vset::flash(u32FwType, reinterpret_cast<const char*>(pu8Path)) : result;
    });
}

HW_Result_t hw_sys_ReadReg(HW_U32 u32Bank, HW_U32 u32Offset, HW_U32* pu32Value) {
    return vset::call(__func__, {u32Bank, u32Offset, pu32Value}, [&]() -> HW_Result_t {
        if (pu32Value == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        const HW_Result_t result = vset::systemReadiness();
        if (result == HW_OK) {
            *pu32Value = vset::readRegister({u32Bank, u32Offset});
        }
        return result;
    });
}

HW_Result_t hw_sys_WriteReg(HW_U32 u32Bank, HW_U32 u32Offset, HW_U32 u32Value) {
    return vset::call(__func__, {u32Bank, u32Offset, u32Value}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::systemReadiness();
        if (result == HW_OK) {
            vset::writeRegister({u32Bank, u32Offset}, u32Value);
        }
        return result;
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::sys {

ClockSpread clockSpread(unsigned int u32Miu) {
    requireSet();
    if (u32Miu >= kMius) {
        throw SetError("memory interface " + std::to_string(u32Miu) + ": there are only " + std::to_string(kMius));
    }
    const std::lock_guard<std::mutex> lock(model.mutex);
    return model.spreads[u32Miu];
}

std::vector<Firmware> flashedFirmware() {
    requireSet();
    const std::lock_guard<std::mutex> lock(model.mutex);
    return model.firmware;
}

std::uint32_t readRegister(std::uint32_t u32Bank, std::uint32_t u32Offset) {
    requireSet();
    return vset::readRegister(Register(u32Bank, u32Offset));
}

std::vector<WrittenRegister> writtenRegisters() {
    requireSet();
    const std::lock_guard<std::mutex> lock(model.mutex);
    std::vector<WrittenRegister> written;
    for (const auto& [address, u32Value] : model.registers) {
        written.push_back({address.first, address.second, u32Value});
    }
    return written;
}

void writeRegister(std::uint32_t u32Bank, std::uint32_t u32Offset, std::uint32_t u32Value) {
    requireSet();
    vset::writeRegister(Register(u32Bank, u32Offset), u32Value);
}

}  // namespace vset::sys
