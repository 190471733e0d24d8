// SPDX-License-Identifier: Apache-2.0
// I2C buses.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include <atomic>
#include <cstring>
#include <memory>
#include <new>

#include "a_vextvfapi_prphrl_internal.h"
#include "base/fapi_handle_lease.h"
#include "base/fapi_log.h"
#include "hw3/hw_iic.h"

namespace {

constexpr HW_U32 kAddressDebugLevel = 0x40;
constexpr unsigned int kReadModes = 3;

}  // namespace

// The last bus. An opened bus stays open until it is disabled.
static std::atomic<HW_Handle_t> _hIic{HW_HANDLE_NONE};
static std::atomic<bool> _bIicOpened{false};

static bool findBus(int bus) {
    const HW_IIC_HandleParams_t stQuery = {static_cast<HW_U32>(bus)};
    HW_Handle_t hFound = HW_HANDLE_NONE;
    if (HW_IIC_GetHandle(&stQuery, &hFound) != HW_OK) {
        return false;
    }
    _hIic.store(hFound);
    return true;
}

static bool openBus(int bus) {
    const HW_IIC_OpenParams_t stParams = {static_cast<HW_U32>(bus)};
    HW_Handle_t hOpened = HW_HANDLE_NONE;
    if (HW_IIC_Open(&stParams, &hOpened) != HW_OK) {
        return false;
    }
    _hIic.store(hOpened);
    return true;
}

// --- Buses -----------------------------------------------------------------------------------------------------------

int a_vextvfapi_prphrl_enable_iic(int bus) {
    if (!findBus(bus)) {
        if (!openBus(bus)) {
            FAPI_LOGE("[enable_iic] Open iic fail\n\n");
            return -1;
        }
        _bIicOpened.store(true);
    }
    FAPI_LOGI("[enable_iic] Open iic handle = 0x%x\n\n", _hIic.load());
    return 0;
}

// Finds or opens the bus. `bClose`: the handle is to be closed. A bus that is found open belongs to another client
// unless this module has opened one.
static bool obtainToClose(int bus, bool& bClose) {
    if (findBus(bus)) {
        bClose = _bIicOpened.exchange(false);
        return true;
    }
    bClose = openBus(bus);
    return bClose;
}

int a_vextvfapi_prphrl_disable_iic(int bus) {
    bool bClose = false;
    if (!obtainToClose(bus, bClose)) {
        // Contract: the tag of the other operation.
        FAPI_LOGE("[enable_iic] Open iic fail\n\n");
        return -1;
    }
    if (bClose && HW_IIC_Close(_hIic.load()) != HW_OK) {
        FAPI_LOGE("[disable_iic] Close iic fail\n\n");
        return -1;
    }
    FAPI_LOGI("[disable_iic] Close iic handle = 0x%x\n\n", _hIic.load());
    return 0;
}

// --- Transfers -------------------------------------------------------------------------------------------------------

using Bytes = std::unique_ptr<HW_U8[]>;

// Copies `source`, or makes zeros without one. Null when memory is short.
static Bytes newBytes(std::size_t size, const unsigned char* source) {
    Bytes bytes(new (std::nothrow) HW_U8[size]());
    if (bytes != nullptr && source != nullptr && size != 0) {
        std::memcpy(bytes.get(), source, size);
    }
    return bytes;
}

// True when the caller's bytes exist and the record can count the address bytes.
static bool isTransferable(unsigned short addrCnt, const unsigned char* addr, unsigned short size, const void* pData) {
    return addrCnt <= 0xFF && (addr != nullptr || addrCnt == 0) && (pData != nullptr || size == 0);
}

static bool obtainToRead(int bus, const char* pszCaller = __builtin_FUNCTION()) {
    if (findBus(bus)) {
        return true;
    }
    FAPI_LOGI_AS(pszCaller, "[read_from_iic] Initial handle %x \n\n", _hIic.load());
    if (!openBus(bus)) {
        FAPI_LOGE_AS(pszCaller, "[read_from_iic] Open iic fail\n\n");
        return false;
    }
    _bIicOpened.store(true);
    FAPI_LOGI_AS(pszCaller, "[read_from_iic] Get handle %x \n\n", _hIic.load());
    return true;
}

static int readBytes(HW_IIC_ReadParams_t stReadParams, unsigned char* out,
                     const char* pszCaller = __builtin_FUNCTION()) {
    // The middleware also takes the address of the record's own pointer, and may change it.
    const HW_U8* const pu8Read = stReadParams.pu8Buf;
    const HW_Result_t result = HW_IIC_Read(_hIic.load(), &stReadParams, &stReadParams.pu8Buf);
    FAPI_LOGI_AS(pszCaller, "[read_from_iic] eErrCode %d\n\n", result);
    if (result != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "[read_from_iic] IIC Read bytes fail\n\n");
        return -1;
    }
    if (stReadParams.u16Size != 0) {
        std::memcpy(out, pu8Read, stReadParams.u16Size);
    }
    for (unsigned int i = 0; i < stReadParams.u16Size; ++i) {
        FAPI_LOGI_AS(pszCaller, "[read_from_iic] IIC Read data[%u] = 0x%x\n\n", i, pu8Read[i]);
        FAPI_LOGI_AS(pszCaller, "[read_from_iic] IIC Return Read data = 0x%x\n\n", out[i]);
    }
    return 0;
}

int a_vextvfapi_prphrl_read_from_iic(int bus, unsigned short readMode, unsigned short busNumSlaveId,
                                     unsigned short addrCnt, const unsigned char* addr, unsigned short size,
                                     unsigned char* out) {
    if (readMode >= kReadModes) {
        FAPI_LOGE("[read_from_iic] invalid ReadMode\n\n");
        return -1;
    }
    if (!isTransferable(addrCnt, addr, size, out)) {
        return -1;
    }
    FAPI_LOGI("[read_from_iic] stReadParams.eReadMode         = %d\n\n", readMode);
    FAPI_LOGI("[read_from_iic] stReadParams.u16BusNumSlaveId  = 0x%x\n\n", busNumSlaveId);
    FAPI_LOGI("[read_from_iic] stReadParams.u8AddrCnt         = %d\n\n", addrCnt);
    FAPI_LOGI("[read_from_iic] stReadParams.u16Size           = %d\n\n", size);
    const Bytes address = newBytes(addrCnt, addr);
    if (address == nullptr) {
        FAPI_LOGE("[read_from_iic] Malloc stReadParams.pu8Addr failed\n\n");
        return -1;
    }
    for (unsigned int i = 0; i < addrCnt; ++i) {
        FAPI_LOGI("[read_from_iic] stReadParams.pu8Addr[%u] = 0x%x\n\n", i, address[i]);
    }
    const Bytes buffer = newBytes(size, nullptr);
    if (buffer == nullptr) {
        FAPI_LOGE("[read_from_iic] Malloc stReadParams.pu8Buf failed\n\n");
        return -1;
    }
    if (!obtainToRead(bus)) {
        return -1;
    }
    // The bus stays open, also when it was opened here.
    return readBytes({readMode, busNumSlaveId, static_cast<HW_U8>(addrCnt), address.get(), size, buffer.get()}, out);
}

static bool obtainToWrite(int bus, const char* pszCaller = __builtin_FUNCTION()) {
    if (findBus(bus)) {
        return true;
    }
    FAPI_LOGI_AS(pszCaller, "[write_to_iic] Initial handle %x \n\n", _hIic.load());
    if (!openBus(bus)) {
        FAPI_LOGE_AS(pszCaller, "[write_to_iic] Open iic fail\n\n");
        return false;
    }
    _bIicOpened.store(true);
    FAPI_LOGI_AS(pszCaller, "[write_to_iic] Get handle %x \n\n", _hIic.load());
    return true;
}

int a_vextvfapi_prphrl_write_to_iic(int bus, unsigned short busNumSlaveId, unsigned short addrCnt,
                                    const unsigned char* addr, unsigned short size, const unsigned char* data) {
    if (!isTransferable(addrCnt, addr, size, data)) {
        return -1;
    }
    FAPI_LOGI("[write_to_iic] stWriteData.u16BusNumSlaveId  = 0x%x\n\n", busNumSlaveId);
    FAPI_LOGI("[write_to_iic] stWriteData.u8AddrCnt         = %d\n\n", addrCnt);
    FAPI_LOGI("[write_to_iic] stWriteData.u16Size           = %d\n\n", size);
    const Bytes address = newBytes(addrCnt, addr);
    if (address == nullptr) {
        FAPI_LOGE("[write_to_iic] Malloc stWriteParams.stWriteData.pu8Addr failed\n\n");
        return -1;
    }
    for (unsigned int i = 0; i < addrCnt; ++i) {
        FAPI_LOGI("[write_to_iic] stWriteParams.stWriteData.pu8Addr[%d] = 0x%x\n\n", i, address[i]);
    }
    const Bytes buffer = newBytes(size, data);
    if (buffer == nullptr) {
        FAPI_LOGE("[write_to_iic] Malloc stWriteParams.stWriteData.pu8Buf failed\n\n");
        return -1;
    }
    for (unsigned int i = 0; i < size; ++i) {
        FAPI_LOGI("[write_to_iic] stWriteParams.stWriteData.pu8Buf[%d] = 0x%x\n\n", i, buffer[i]);
    }
    if (!obtainToWrite(bus)) {
        return -1;
    }
    const HW_IIC_WriteParams_t stWriteParams = {
        {busNumSlaveId, static_cast<HW_U8>(addrCnt), address.get(), size, buffer.get()}};
    const HW_Result_t result = HW_IIC_Write(_hIic.load(), &stWriteParams, nullptr);
    FAPI_LOGI("[write_to_iic] eErrCode %d\n\n", result);
    if (result != HW_OK) {
        FAPI_LOGE("[write_to_iic] IIC Write bytes fail\n\n");
        return -1;
    }
    return 0;
}

// --- The board's devices ---------------------------------------------------------------------------------------------

namespace {

struct IicFamily {
    static constexpr auto getHandle = HW_IIC_GetHandle;
    static constexpr auto open = HW_IIC_Open;
    static constexpr auto close = HW_IIC_Close;
};
using IicLease = fapi::HandleLease<IicFamily>;

}  // namespace

// Finds or opens the bus of a device. A bus has another number in the look-up than in the open.
static bool leaseDeviceBus(IicLease& lease, unsigned short port, const char* pszCaller = __builtin_FUNCTION()) {
    const HW_IIC_HandleParams_t stQuery = {HW_IIC_DEVICE_PORT_BASE + port};
    if (lease.find(stQuery) == HW_OK) {
        return true;
    }
    const HW_IIC_OpenParams_t stParams = {port};
    if (lease.open(stParams) == HW_OK) {
        return true;
    }
    // Contract: the number, whatever the middleware has answered.
    FAPI_LOGE_AS(pszCaller, FAPI_RED("Error 0x%x: failed to HW_IIC_Open!") "\n\n", HW_ERR_FAILED);
    return false;
}

static int closeDeviceBus(IicLease& lease, int s32Status, const char* pszCaller = __builtin_FUNCTION()) {
    const HW_Result_t result = lease.release();
    if (result != HW_OK) {
        FAPI_LOGE_AS(pszCaller, FAPI_RED("Error 0x%x: failed to HW_IIC_Close!") "\n\n", result);
        return -1;
    }
    return s32Status;
}

int a_vextvfapi_prphrl_get_iic_slave_address(unsigned short deviceId, unsigned short port, unsigned short* slaveId) {
    HW_IIC_SetDebugLevel(kAddressDebugLevel);
    IicLease lease;
    if (!leaseDeviceBus(lease, port)) {
        // Contract: no failure.
        return 0;
    }
    HW_IIC_DeviceInfo_t stIicDevice = {};
    int s32Status = 0;
    if (HW_IIC_GetDeviceInfo(deviceId, &stIicDevice) != HW_OK) {
        FAPI_LOGE("get DeviceId = %d iic info fail\n\n", deviceId);
        s32Status = -1;
    }
    FAPI_LOGI("[DeviceId: %d] stIicDevice.ePort            = %d\n\n", deviceId, stIicDevice.ePort);
    FAPI_LOGI("[DeviceId: %d] stIicDevice.u16BusNumSlaveId = 0x%x\n\n", deviceId, stIicDevice.u16BusNumSlaveId);
    if (slaveId == nullptr) {
        FAPI_LOGE(FAPI_RED("pu16SlaveId is invalid") "\n\n");
        return closeDeviceBus(lease, -1);
    }
    *slaveId = stIicDevice.u16BusNumSlaveId;
    FAPI_LOGE(FAPI_RED("pu16SlaveId:%d") "\n\n", *slaveId);
    return closeDeviceBus(lease, s32Status);
}
