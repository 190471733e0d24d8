// SPDX-License-Identifier: Apache-2.0
// Serial ports.
#include "hw3/hw_uart.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <optional>

#include "callback_queue.h"
#include "serial_lines.h"
#include "vset/uart.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

// A port's received bytes that wait for the registered callback.
class UartReceiver : public CallbackQueue {
private:
    HW_Result_t deliver(EventCallback_t pfnCallback, HW_Handle_t hUart, unsigned char u8Byte) override {
        return pfnCallback(hUart, HW_UART_EVENT_RX_CHAR, &u8Byte);
    }
};

struct Settings {
    std::atomic<HW_U32> u32BaudRate{0};
    std::atomic<HW_U32> u32DeviceType{0};
};

// The ports' model. The key of a handle is its port.
class UartModel : public FamilyModel {
public:
    UartModel() : FamilyModel(FamilyId::uart, "HW_UART", PlayersInstance::isClosed) {}

    // Returns the port of an open handle.
    std::optional<unsigned int> portOf(HW_Handle_t hUart) {
        const std::optional<std::uint64_t> key = handles().key(hUart);
        return key ? std::optional<unsigned int>(static_cast<unsigned int>(*key)) : std::nullopt;
    }

    std::array<UartReceiver, uart::kPorts> receivers;
    std::array<Settings, uart::kPorts> settings;

protected:
    void powerOff(bool bDetach) override {
        // Closes the handles first, so that no client registers from here on.
        handles().closeAll();
        for (UartReceiver& receiver : receivers) {
            receiver.cancelAll(HW_HANDLE_NONE);
        }
        if (bDetach) {
            removeSerialLines();
        }
    }
    void reset() override {
        for (unsigned int i = 0; i < uart::kPorts; ++i) {
            receivers[i].reset();
            settings[i].u32BaudRate = 0;
            settings[i].u32DeviceType = 0;
        }
        switchOnSerialLines(loadedFolder());
    }
};
UartModel& model = *new UartModel;

void requirePort(unsigned int u32Port) {
    requireSet();
    if (u32Port >= uart::kPorts) {
        throw SetError("serial port " + std::to_string(u32Port) + ": there are only " + std::to_string(uart::kPorts));
    }
}

}  // namespace

void receiveAtPort(unsigned int u32Port, std::string_view bytes) {
    model.receivers[u32Port].receive(bytes);
}

void countAtPort(unsigned int u32Port, std::size_t received, std::size_t dropped) {
    model.receivers[u32Port].count(received, dropped);
}

}  // namespace vset

using vset::model;

HW_Result_t HW_UART_Init(const HW_UART_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams},
                      [&]() -> HW_Result_t { return model.initialise(pstParams, vset::NullParams::defaults); });
}

HW_Result_t HW_UART_GetHandle(const HW_UART_HandleParams_t* pstParams, HW_Handle_t* phUart) {
    return vset::call(__func__, {pstParams, phUart}, [&]() -> HW_Result_t {
        if (pstParams == nullptr || phUart == nullptr || pstParams->u32PortType > E_HW_UART_PORT_4) {
            return HW_ERR_INVALID_PARAMETER;
        }
        const HW_Result_t result = model.readiness();
        return result == HW_OK ? model.handles().find(pstParams->u32PortType, phUart) : result;
    });
}

HW_Result_t HW_UART_Open(const HW_UART_OpenParams_t* pstParams, HW_Handle_t* phUart) {
    return vset::call(__func__, {pstParams, phUart}, [&]() -> HW_Result_t {
        if (pstParams == nullptr || phUart == nullptr || pstParams->u32PortType > E_HW_UART_PORT_4 ||
            pstParams->u32DeviceType > E_HW_UART_DEVICE_LAST || pstParams->u32BaudRate > E_HW_UART_BAUD_115200 ||
            std::any_of(std::begin(pstParams->au8Reserved), std::end(pstParams->au8Reserved),
                        [](HW_U8 u8Byte) { return u8Byte != 0; })) {
            return HW_ERR_INVALID_PARAMETER;
        }
        HW_Result_t result = model.readiness();
        if (result == HW_OK) {
            result = model.handles().open(pstParams->u32PortType, phUart);
        }
        if (result == HW_OK) {
            model.settings[pstParams->u32PortType].u32BaudRate = pstParams->u32BaudRate;
            model.settings[pstParams->u32PortType].u32DeviceType = pstParams->u32DeviceType;
        }
        return result;
    });
}

HW_Result_t HW_UART_Close(HW_Handle_t hUart) {
    return vset::call(__func__, {hUart}, [&]() -> HW_Result_t {
        const auto port = model.portOf(hUart);
        const HW_Result_t result = model.handles().close(hUart);
        if (result == HW_OK && port) {
            model.receivers[*port].cancelAll(hUart);
        }
        return result;
    });
}

HW_Result_t HW_UART_RegisterCallback(HW_Handle_t hUart, const HW_UART_CallbackParams_t* pstParams, HW_U32* pu32Out) {
    return vset::call(__func__, {hUart, pstParams, pu32Out}, [&]() -> HW_Result_t {
        const auto port = model.portOf(hUart);
        if (!port) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (pstParams == nullptr || pu32Out == nullptr || pstParams->pfnCallback == nullptr ||
            pstParams->u32EventMask != HW_UART_EVENT_RX_CHAR || pstParams->u32Reserved != 0) {
            return HW_ERR_INVALID_PARAMETER;
        }
        vset::startSerialThread();
        model.receivers[*port].registerCallback(pstParams->pfnCallback, hUart);
        if (!model.portOf(hUart)) {
            // Another thread may have closed the port meanwhile, and may have found no registration to end.
            model.receivers[*port].cancelAll(hUart);
            return HW_ERR_INVALID_HANDLE;
        }
        *pu32Out = pstParams->u32EventMask;
        return HW_OK;
    });
}

HW_Result_t HW_UART_UnRegisterCallback(HW_Handle_t hUart, const HW_UART_CallbackParams_t* pstParams) {
    return vset::call(__func__, {hUart, pstParams}, [&]() -> HW_Result_t {
        const auto port = model.portOf(hUart);
        if (!port) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (pstParams == nullptr || pstParams->pfnCallback != nullptr || pstParams->u32Reserved != 0 ||
            pstParams->u32EventMask != HW_UART_EVENT_RX_CHAR) {
            return HW_ERR_INVALID_PARAMETER;
        }
        return model.receivers[*port].unregisterCallback(hUart);
    });
}

HW_Result_t HW_UART_SetBaudrate(HW_Handle_t hUart, HW_U32 u32BaudRate) {
    return vset::call(__func__, {hUart, u32BaudRate}, [&]() -> HW_Result_t {
        const auto port = model.portOf(hUart);
        if (!port) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (u32BaudRate > E_HW_UART_BAUD_115200) {
            return HW_ERR_INVALID_PARAMETER;
        }
        model.settings[*port].u32BaudRate = u32BaudRate;
        return HW_OK;
    });
}

HW_Result_t HW_UART_Write(HW_Handle_t hUart, const HW_UART_WriteParams_t* pstParams, HW_U32* pu32Written) {
    return vset::call(__func__, {hUart, pstParams, pu32Written}, [&]() -> HW_Result_t {
        const auto port = model.portOf(hUart);
        if (!port) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (pstParams == nullptr || pstParams->pu8Data == nullptr || pstParams->u32Reserved != 0) {
            return HW_ERR_INVALID_PARAMETER;
        }
        vset::transmit(*port, {reinterpret_cast<const char*>(pstParams->pu8Data), pstParams->u32Length});
        if (pu32Written != nullptr) {
            *pu32Written = pstParams->u32Length;
        }
        return HW_OK;
    });
}

HW_Result_t HW_UART_PutChar(HW_Handle_t hUart, HW_U8 u8Char) {
    return vset::call(__func__, {hUart, u8Char}, [&]() -> HW_Result_t {
        const auto port = model.portOf(hUart);
        if (!port) {
            return HW_ERR_INVALID_HANDLE;
        }
        vset::transmit(*port, {reinterpret_cast<const char*>(&u8Char), 1});
        return HW_OK;
    });
}

vset::uart::Port vset::uart::port(unsigned int u32Port) {
    requirePort(u32Port);
    Port stPort;
    const std::optional<OpenHandle> handle = model.handles().instance(u32Port);
    stPort.bOpen = handle.has_value();
    stPort.bPlayer = handle && handle->bPlayer;
    stPort.bTtyOpen = isTtyOpen(u32Port);
    stPort.u32BaudRate = model.settings[u32Port].u32BaudRate;
    stPort.u32DeviceType = model.settings[u32Port].u32DeviceType;
    const CallbackQueue::State stState = model.receivers[u32Port].state();
    stPort.bCallback = stState.bCallback;
    stPort.u32Waiting = static_cast<unsigned int>(stState.waiting);
    stPort.u64Received = stState.u64Received;
    stPort.u64Dropped = stState.u64Dropped;
    stPort.u64Refused = stState.u64Refused;
    return stPort;
}

void vset::uart::hold(unsigned int u32Port) {
    requirePort(u32Port);
    model.hold(u32Port, "serial port");
}

void vset::uart::release(unsigned int u32Port) {
    requirePort(u32Port);
    model.receivers[u32Port].cancelAll(model.release(u32Port, "serial port"));
}
