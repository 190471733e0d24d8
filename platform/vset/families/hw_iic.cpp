// SPDX-License-Identifier: Apache-2.0
// I2C buses, the devices on them, and the board's table of devices.
#include "hw3/hw_iic.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <mutex>

#include "vset/iic.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

constexpr std::size_t kLog = 1024;
constexpr unsigned int kAddressBytes = 4;

const iic::Device kBoardDevices[] = {
    {0, 0xA0, "EEPROM", 256, 16},
    {1, 0x94, "panel timing controller", 256, 0},
    {2, 0xA4, "panel EEPROM", 8192, 32},
    {3, 0xC0, "tuner", 64, 0},
};

const iic::TableEntry kBoardTable[] = {
    {0, 0, 0x00A0},
    {1, 1, 0x0194},
    {2, 2, 0x02A4},
    {3, 3, 0x03C0},
};

// A device's memory and the pointer into it.
struct Chip {
    iic::Device stDevice;
    std::string strMemory;
    std::size_t pointer = 0;

    explicit Chip(const iic::Device& device) : stDevice(device), strMemory(device.size, '\xFF') {}

    void setPointer(std::string_view address) {
        std::uint64_t u64Pointer = 0;
        for (const char cByte : address) {
            u64Pointer = u64Pointer << 8 | static_cast<unsigned char>(cByte);
        }
        if (!address.empty()) {
            pointer = u64Pointer % strMemory.size();
        }
    }

    std::string read(std::size_t size) {
        std::string strBytes(size, '\0');
        for (char& cByte : strBytes) {
            cByte = strMemory[pointer];
            pointer = (pointer + 1) % strMemory.size();
        }
        return strBytes;
    }

    void write(std::string_view bytes) {
        const std::size_t page = stDevice.pageSize;
        for (const char cByte : bytes) {
            strMemory[pointer] = cByte;
            const bool bPageEnds = page != 0 && (pointer + 1) % page == 0;
            pointer = bPageEnds ? pointer + 1 - page : (pointer + 1) % strMemory.size();
        }
    }
};

// The address of a device: bus (high byte) and slave address (low byte).
using DeviceAddress = std::uint16_t;

// The buses' model. The key of a handle is its bus.
class IicModel : public FamilyModel {
public:
    IicModel() : FamilyModel(FamilyId::iic, "HW_IIC", PlayersInstance::isClosed) {}

    // Guards all members below.
    std::mutex mutex;
    std::map<DeviceAddress, Chip> chips;
    std::map<HW_U32, iic::TableEntry> table;
    std::deque<iic::Transfer> log;
    std::atomic<HW_U32> u32DebugLevel{0};

protected:
    void reset() override {
        const std::lock_guard<std::mutex> lock(mutex);
        chips.clear();
        for (const iic::Device& stDevice : kBoardDevices) {
            chips.emplace(static_cast<DeviceAddress>(stDevice.u32Bus << 8 | stDevice.u8Slave), Chip(stDevice));
        }
        table.clear();
        for (const iic::TableEntry& stEntry : kBoardTable) {
            table[stEntry.u32Device] = stEntry;
        }
        log.clear();
        u32DebugLevel = 0;
    }
};
IicModel& model = *new IicModel;

std::string_view bytesOf(const HW_U8* pu8Bytes, std::size_t size) {
    return {reinterpret_cast<const char*>(pu8Bytes), size};
}

struct Request {
    bool bWrite;
    HW_U16 u16BusNumSlaveId;
    HW_U8 u8AddrCnt;
    const HW_U8* pu8Addr;
    HW_U16 u16Size;
    const HW_U8* pu8Data;  // of a write
};

// Transfers over the bus of the handle; bytes read are put into `strRead`.
HW_Result_t transfer(HW_Handle_t hIic, const Request& stRequest, std::string& strRead) {
    const auto bus = model.handles().key(hIic);
    if (!bus) {
        return HW_ERR_INVALID_HANDLE;
    }
    if (stRequest.u16BusNumSlaveId >> 8 != *bus || stRequest.u8AddrCnt > kAddressBytes ||
        (stRequest.pu8Addr == nullptr && stRequest.u8AddrCnt != 0)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const std::string_view address = bytesOf(stRequest.pu8Addr, stRequest.u8AddrCnt);
    const std::string_view written = bytesOf(stRequest.pu8Data, stRequest.bWrite ? stRequest.u16Size : 0);
    const std::lock_guard<std::mutex> lock(model.mutex);
    // Bit 0 of a slave address is the direction on the wire.
    const auto chip = model.chips.find(stRequest.u16BusNumSlaveId & 0xFFFE);
    const bool bAnswered = chip != model.chips.end();
    if (bAnswered) {
        chip->second.setPointer(address);
        if (stRequest.bWrite) {
            chip->second.write(written);
        } else {
            strRead = chip->second.read(stRequest.u16Size);
        }
    }
    model.log.push_back({std::chrono::steady_clock::now(), stRequest.bWrite, static_cast<unsigned int>(*bus),
                         static_cast<unsigned char>(stRequest.u16BusNumSlaveId & 0xFF), std::string(address),
                         stRequest.bWrite ? std::string(written) : strRead, bAnswered});
    if (model.log.size() > kLog) {
        model.log.pop_front();
    }
    return bAnswered ? HW_OK : HW_ERR_FAILED;
}

// Returns the bus, which a look-up knows by two numbers.
HW_U32 busOf(HW_U32 u32Port) {
    return u32Port >= HW_IIC_DEVICE_PORT_BASE ? u32Port - HW_IIC_DEVICE_PORT_BASE : u32Port;
}

void requireBus(unsigned int u32Bus) {
    requireSet();
    if (u32Bus >= iic::kBuses) {
        throw SetError("I2C bus " + std::to_string(u32Bus) + ": there are only " + std::to_string(iic::kBuses));
    }
}

// Returns the chip of an address. The caller holds the mutex.
Chip& requireChip(unsigned int u32Bus, unsigned char u8Slave) {
    const auto chip = model.chips.find(static_cast<DeviceAddress>(u32Bus << 8 | u8Slave));
    if (chip == model.chips.end()) {
        throw SetError("I2C bus " + std::to_string(u32Bus) + ": no device at address " + std::to_string(u8Slave));
    }
    return chip->second;
}

void requireInside(const Chip& chip, std::size_t offset, std::size_t length) {
    if (offset > chip.strMemory.size() || length > chip.strMemory.size() - offset) {
        throw SetError(chip.stDevice.strName + ": has only " + std::to_string(chip.strMemory.size()) + " bytes");
    }
}

}  // namespace

}  // namespace vset

using vset::model;

HW_Result_t HW_IIC_Init(const HW_IIC_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams},
                      [&]() -> HW_Result_t { return model.initialise(pstParams, vset::NullParams::defaults); });
}

HW_Result_t HW_IIC_GetHandle(const HW_IIC_HandleParams_t* pstParams, HW_Handle_t* phIic) {
    return vset::call(__func__, {pstParams, phIic}, [&]() -> HW_Result_t {
        if (pstParams == nullptr || phIic == nullptr || vset::busOf(pstParams->u32Port) >= vset::iic::kBuses) {
            return HW_ERR_INVALID_PARAMETER;
        }
        const HW_Result_t result = model.readiness();
        return result == HW_OK ? model.handles().find(vset::busOf(pstParams->u32Port), phIic) : result;
    });
}

HW_Result_t HW_IIC_Open(const HW_IIC_OpenParams_t* pstParams, HW_Handle_t* phIic) {
    return vset::call(__func__, {pstParams, phIic}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::checkInstanceNumber(model.readiness(), pstParams,
                                                             &HW_IIC_OpenParams_t::u32Port, vset::iic::kBuses, phIic);
        return result == HW_OK ? model.handles().open(pstParams->u32Port, phIic) : result;
    });
}

HW_Result_t HW_IIC_Close(HW_Handle_t hIic) {
    return vset::call(__func__, {hIic}, [&]() -> HW_Result_t { return model.handles().close(hIic); });
}

HW_Result_t HW_IIC_Read(HW_Handle_t hIic, const HW_IIC_ReadParams_t* pstParams, HW_U8** ppu8Buf) {
    return vset::call(__func__, {hIic, pstParams, ppu8Buf}, [&]() -> HW_Result_t {
        if (pstParams == nullptr || ppu8Buf != &pstParams->pu8Buf || (*ppu8Buf == nullptr && pstParams->u16Size != 0) ||
            pstParams->eReadMode > E_HW_IIC_READ_MODE_2) {
            return model.handles().key(hIic) ? HW_ERR_INVALID_PARAMETER : HW_ERR_INVALID_HANDLE;
        }
        std::string strRead;
        const HW_Result_t result = vset::transfer(
            hIic,
            {false, pstParams->u16BusNumSlaveId, pstParams->u8AddrCnt, pstParams->pu8Addr, pstParams->u16Size, nullptr},
            strRead);
        std::copy(strRead.begin(), strRead.end(), *ppu8Buf);
        return result;
    });
}

HW_Result_t HW_IIC_Write(HW_Handle_t hIic, const HW_IIC_WriteParams_t* pstParams, HW_U32* pu32Written) {
    const HW_IIC_WriteData_t* pstData = pstParams != nullptr ? &pstParams->stWriteData : nullptr;
    return vset::call(__func__, {hIic, pstParams, pu32Written}, [&]() -> HW_Result_t {
        if (pstData == nullptr || (pstData->pu8Buf == nullptr && pstData->u16Size != 0)) {
            return model.handles().key(hIic) ? HW_ERR_INVALID_PARAMETER : HW_ERR_INVALID_HANDLE;
        }
        std::string strRead;
        const HW_Result_t result = vset::transfer(
            hIic,
            {true, pstData->u16BusNumSlaveId, pstData->u8AddrCnt, pstData->pu8Addr, pstData->u16Size, pstData->pu8Buf},
            strRead);
        if (result == HW_OK && pu32Written != nullptr) {
            *pu32Written = pstData->u16Size;
        }
        return result;
    });
}

HW_Result_t HW_IIC_SetDebugLevel(HW_U32 u32Level) {
    return vset::call(__func__, {u32Level}, [&]() -> HW_Result_t {
        const HW_Result_t result = model.readiness();
        if (result == HW_OK) {
            model.u32DebugLevel = u32Level;
        }
        return result;
    });
}

HW_Result_t HW_IIC_GetDeviceInfo(HW_U32 u32DeviceId, HW_IIC_DeviceInfo_t* pstInfo) {
    return vset::call(__func__, {u32DeviceId, pstInfo}, [&]() -> HW_Result_t {
        if (pstInfo == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        const HW_Result_t result = model.readiness();
        if (result != HW_OK) {
            return result;
        }
        const std::lock_guard<std::mutex> lock(model.mutex);
        const auto entry = model.table.find(u32DeviceId);
        if (entry == model.table.end()) {
            return HW_ERR_INVALID_PARAMETER;
        }
        pstInfo->ePort = entry->second.u32Port;
        pstInfo->u16BusNumSlaveId = entry->second.u16BusNumSlaveId;
        return HW_OK;
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::iic {

std::vector<Device> devices() {
    requireSet();
    const std::lock_guard<std::mutex> lock(model.mutex);
    std::vector<Device> all;
    for (const auto& entry : model.chips) {
        all.push_back(entry.second.stDevice);
    }
    return all;
}

void addDevice(const Device& stDevice) {
    requireBus(stDevice.u32Bus);
    if ((stDevice.u8Slave & 1) != 0 || stDevice.size == 0 || stDevice.size > kMemoryLimit ||
        (stDevice.pageSize != 0 && stDevice.size % stDevice.pageSize != 0)) {
        throw SetError(stDevice.strName + ": needs an even address, 1 to " + std::to_string(kMemoryLimit) +
                       " bytes and pages that fill them");
    }
    const std::lock_guard<std::mutex> lock(model.mutex);
    const auto address = static_cast<DeviceAddress>(stDevice.u32Bus << 8 | stDevice.u8Slave);
    if (!model.chips.emplace(address, Chip(stDevice)).second) {
        throw SetError(stDevice.strName + ": another device has the address " + std::to_string(stDevice.u8Slave));
    }
}

void removeDevice(unsigned int u32Bus, unsigned char u8Slave) {
    requireBus(u32Bus);
    const std::lock_guard<std::mutex> lock(model.mutex);
    requireChip(u32Bus, u8Slave);
    model.chips.erase(static_cast<DeviceAddress>(u32Bus << 8 | u8Slave));
}

std::string memory(unsigned int u32Bus, unsigned char u8Slave, std::size_t offset, std::size_t length) {
    requireBus(u32Bus);
    const std::lock_guard<std::mutex> lock(model.mutex);
    const Chip& chip = requireChip(u32Bus, u8Slave);
    requireInside(chip, offset, length);
    return chip.strMemory.substr(offset, length);
}

void setMemory(unsigned int u32Bus, unsigned char u8Slave, std::size_t offset, std::string_view bytes) {
    requireBus(u32Bus);
    const std::lock_guard<std::mutex> lock(model.mutex);
    Chip& chip = requireChip(u32Bus, u8Slave);
    requireInside(chip, offset, bytes.size());
    chip.strMemory.replace(offset, bytes.size(), bytes);
}

std::vector<TableEntry> deviceTable() {
    requireSet();
    const std::lock_guard<std::mutex> lock(model.mutex);
    std::vector<TableEntry> all;
    for (const auto& entry : model.table) {
        all.push_back(entry.second);
    }
    return all;
}

void setTableEntry(const TableEntry& stEntry) {
    requireSet();
    const std::lock_guard<std::mutex> lock(model.mutex);
    model.table[stEntry.u32Device] = stEntry;
}

std::vector<Transfer> transfers() {
    requireSet();
    const std::lock_guard<std::mutex> lock(model.mutex);
    return {model.log.begin(), model.log.end()};
}

void clearTransfers() {
    requireSet();
    const std::lock_guard<std::mutex> lock(model.mutex);
    model.log.clear();
}

unsigned int debugLevel() {
    requireSet();
    return model.u32DebugLevel;
}

void hold(unsigned int u32Bus) {
    requireBus(u32Bus);
    model.hold(u32Bus, "I2C bus");
}

void release(unsigned int u32Bus) {
    requireBus(u32Bus);
    model.release(u32Bus, "I2C bus");
}

}  // namespace vset::iic
