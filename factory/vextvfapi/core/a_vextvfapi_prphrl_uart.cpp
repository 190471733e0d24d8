// SPDX-License-Identifier: Apache-2.0
// The factory UART: lines from a test station through the middleware's serial ports, and the board's routing switch.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "a_vextvfapi_prphrl_internal.h"
#include "base/fapi_hw_result.h"
#include "base/fapi_log.h"
#include "hw3/hw_uart.h"

fapi::ReceiveBuffer fapi::prphrl::receiveBuffer;

static std::atomic<bool> _bFactoryUartStarted{false};
static std::atomic<HW_Handle_t> _hUartHandle{HW_HANDLE_NONE};
// True when this module has opened the port, which only then is closed by it.
static std::atomic<bool> _bUartOpened{false};

// The interface's numbers are the middleware's. A number out of range becomes the largest one, which the middleware
// refuses.
static HW_U32 convertUpTo(signed char value, signed char last) {
    return value >= 0 && value <= last ? static_cast<HW_U32>(value) : static_cast<HW_U32>(-1);
}

static HW_U32 convertPortType(signed char portType) {
    return convertUpTo(portType, E_HW_UART_PORT_4);
}

bool fapi::prphrl::isFactoryUartStarted() {
    return _bFactoryUartStarted.load();
}

static HW_Result_t findPort(HW_U32 u32PortType) {
    const HW_UART_HandleParams_t stQuery = {u32PortType};
    HW_Handle_t hFound = HW_HANDLE_NONE;
    const HW_Result_t result = HW_UART_GetHandle(&stQuery, &hFound);
    if (result == HW_OK) {
        _hUartHandle.store(hFound);
    }
    return result;
}

static HW_Result_t openPort(const HW_UART_OpenParams_t& stParams) {
    HW_Handle_t hOpened = HW_HANDLE_NONE;
    const HW_Result_t result = HW_UART_Open(&stParams, &hOpened);
    if (result == HW_OK) {
        _hUartHandle.store(hOpened);
        _bUartOpened.store(true);
    }
    return result;
}

static void raiseLine(std::vector<unsigned char>&& line, const char* pszCaller = __builtin_FUNCTION()) {
    fapi_core::VexTvFApiEventCommonObject object;
    object.data = std::move(line);
    const auto* pszText = reinterpret_cast<const char*>(object.data.data());
    try {
        object.text.assign(pszText, strnlen(pszText, object.data.size()));
    } catch (...) {
        return;
    }
    FAPI_LOGI_AS(pszCaller, "[factory_uart] %s\n\n", object.text.c_str());
    fapi::prphrl::raiseEvent(fapi_core::E_VEXTVFAPI_EVENT_UART_DATA, object);
}

static void endLine(const char* pszCaller = __builtin_FUNCTION()) {
    std::vector<unsigned char> line;
    if (!fapi::prphrl::receiveBuffer.take(nullptr, 0, line)) {
        return;
    }
    if (line.empty()) {
        FAPI_LOGI_AS(pszCaller, "[start_factory_uart] Uart command length is 0\n\n");
        return;
    }
    raiseLine(std::move(line), pszCaller);
}

// Takes one received character, on a thread of the middleware.
static HW_Result_t _HW_UART_Callback(HW_Handle_t, HW_U32, HW_U8* params) {
    if (params == nullptr) {
        FAPI_LOGE("[start_factory_uart] pEventParams is null\n\n");
        return HW_ERR_INVALID_PARAMETER;
    }
    if (!fapi::prphrl::receiveBuffer.exists()) {
        FAPI_LOGE("[factory_uart] Fail: _pu8DataBuff is invalid!\n\n");
        return HW_OK;
    }
    if (*params == '\r' || *params == '\n') {
        endLine();
    } else if (fapi::prphrl::receiveBuffer.count() >= fapi::ReceiveBuffer::kSize) {
        FAPI_LOGE(FAPI_HIGHLIGHT("[factory_uart] _pu8DataBuff is overflow") "\n\n");
        fapi::prphrl::receiveBuffer.clear();
    } else {
        fapi::prphrl::receiveBuffer.append(params, 1);
    }
    return HW_OK;
}

int a_vextvfapi_prphrl_start_factory_uart(signed char baudrate, signed char portType, signed char deviceType) {
    FAPI_LOGI("[start_factory_uart] please send the test data (file) to platform via UART\n\n");
    if (_bFactoryUartStarted.load()) {
        FAPI_LOGE("[start_factory_uart] FactoryUart started already.\n\n");
        FAPI_LOGE("[start_factory_uart] Please call a_vextvfapi_prphrl_stop_factory_uart() to stop it first.\n\n");
        return 0;
    }
    if (fapi::prphrl::isStdFactoryUartStarted()) {
        FAPI_LOGE("[start_factory_uart] StdFactoryUart started already.\n\n");
        FAPI_LOGE("[start_factory_uart] Please call a_vextvfapi_prphrl_stop_std_factory_uart() to stop it first.\n\n");
        return 0;
    }
    if (!fapi::prphrl::receiveBuffer.allocate()) {
        FAPI_LOGD("[start_factory_uart] Allcate memory failed\n\n");
        return 0;
    }

    const HW_U32 u32PortType = convertPortType(portType);
    const HW_U32 u32BaudRate = convertUpTo(baudrate, E_HW_UART_BAUD_115200);
    HW_Result_t result = findPort(u32PortType);
    if (result != HW_OK) {
        FAPI_LOGE(FAPI_RED("[start_factory_uart] Warning 0x%x: Uart Get Handle fail") "\n\n", result);
        const HW_U32 u32DeviceType = convertUpTo(deviceType, E_HW_UART_DEVICE_LAST);
        if (openPort({u32PortType, u32DeviceType, u32BaudRate, {}}) != HW_OK) {
            FAPI_LOGE("[start_factory_uart] Uart open fail\n\n");
            fapi::prphrl::receiveBuffer.release();
            return 0;
        }
        FAPI_LOGE("[start_factory_uart] Uart open\n\n");
    }

    // Contract: a port opened here stays open when one of these fails; stop closes it.
    const HW_UART_CallbackParams_t stCallback = {_HW_UART_Callback, HW_UART_EVENT_RX_CHAR, 0};
    HW_U32 u32Registered = 0;
    result = HW_UART_RegisterCallback(_hUartHandle.load(), &stCallback, &u32Registered);
    if (result != HW_OK) {
        FAPI_LOGE(FAPI_RED("[Uart_Demo] Error 0x%x: register callback fail") "\n\n", result);
        fapi::prphrl::receiveBuffer.release();
        return 0;
    }
    if (HW_UART_SetBaudrate(_hUartHandle.load(), u32BaudRate) != HW_OK) {
        FAPI_LOGE("[start_factory_uart] Set baudrate fail\n\n");
        fapi::prphrl::receiveBuffer.release();
        return 0;
    }
    _bFactoryUartStarted.store(true);
    return 1;
}

int a_vextvfapi_prphrl_stop_factory_uart(signed char portType) {
    const HW_UART_CallbackParams_t stCallback = {nullptr, HW_UART_EVENT_RX_CHAR, 0};
    const HW_Result_t result = HW_UART_UnRegisterCallback(_hUartHandle.load(), &stCallback);
    // Contract: unlike in the other calls of the port, 2 is a success.
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE(FAPI_RED("[start_factory_uart] Error 0x%x: unregister callback fail") "\n\n", result);
    }
    if (findPort(convertPortType(portType)) == HW_OK && _bUartOpened.exchange(false)) {
        HW_UART_Close(_hUartHandle.exchange(HW_HANDLE_NONE));
        FAPI_LOGE("[start_factory_uart] UART close\n\n");
    }
    fapi::prphrl::receiveBuffer.release();
    _bFactoryUartStarted.store(false);
    return 1;
}

// The number after "error:" is the source line (contract), not an error code.
int a_vextvfapi_prphrl_write_factory_uart(const unsigned char* data, unsigned int length) {
    if (data == nullptr || length == 0) {
        FAPI_LOGE(FAPI_RED("[write_factory_uart] parameter error: %d") "\n\n", __LINE__);
        return 0;
    }
    if (!_bFactoryUartStarted.load()) {
        FAPI_LOGE(FAPI_RED("[write_factory_uart] start factory uart error: %d") "\n\n", __LINE__);
        return 0;
    }
    const HW_UART_WriteParams_t stParams = {data, length, 0};
    if (HW_UART_Write(_hUartHandle.load(), &stParams, nullptr) != HW_OK) {
        FAPI_LOGE(FAPI_RED("[write_factory_uart] write fail: %d") "\n\n", __LINE__);
        return 0;
    }
    HW_UART_PutChar(_hUartHandle.load(), '\r');
    HW_UART_PutChar(_hUartHandle.load(), '\n');
    return 1;
}

int a_vextvfapi_prphrl_switch_to_ttys1(bool enable) {
    const int s32Fd = open("/sys/kernel/uart/uart_switch", O_RDWR);
    if (s32Fd < 0) {
        // Contract: the result is printf's when the log is on, else -1.
        const int s32Printed = FAPI_LOG("E", "[STD UART] open /sys/kernel/uart/uart_switch fail\n\n");
        return s32Printed != 0 ? s32Printed : s32Fd;
    }
    if (enable) {
        FAPI_LOGD("[STD UART] enable STD factory UART => switch to ttyS1\n\n");
    } else {
        FAPI_LOGD("[STD UART] disable STD factory UART => switch back to ttyS0\n\n");
    }
    // The switch does not report whether it has moved.
    [[maybe_unused]] const ssize_t written = write(s32Fd, enable ? "1" : "0", 1);
    return close(s32Fd);
}
