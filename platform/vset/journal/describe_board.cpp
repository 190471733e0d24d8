// SPDX-License-Identifier: Apache-2.0
// HW_UART, HW_SAR, HW_IIC, HW_GPIO, HW_PWM, HW_PM, HW_WDT, HW_IR, HW_NET.
#include <algorithm>

#include "describe.h"
#include "hw3/hw_gpio.h"
#include "hw3/hw_iic.h"
#include "hw3/hw_ir.h"
#include "hw3/hw_net.h"
#include "hw3/hw_pm.h"
#include "hw3/hw_pwm.h"
#include "hw3/hw_sar.h"
#include "hw3/hw_uart.h"
#include "hw3/hw_wdt.h"

namespace vset {

static void fields(CallText& text, const HW_UART_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_UART_HandleParams_t& st) {
    text.number("port", st.u32PortType);
}
static void fields(CallText& text, const HW_UART_OpenParams_t& st) {
    text.number("port", st.u32PortType);
    text.number("device", st.u32DeviceType);
    text.number("baudRate", st.u32BaudRate);
    text.bytes("reserved", st.au8Reserved, sizeof(st.au8Reserved));
}
static void fields(CallText& text, const HW_UART_CallbackParams_t& st) {
    text.presence("callback", st.pfnCallback != nullptr);
    text.number("mask", st.u32EventMask);
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_UART_WriteParams_t& st) {
    text.number("length", st.u32Length);
    text.bytes("data", st.pu8Data, st.u32Length);
    text.number("reserved", st.u32Reserved);
}

static void fields(CallText& text, const HW_SAR_HandleParams_t& st) {
    text.number("channel", st.u32Channel);
}
static void fields(CallText& text, const HW_SAR_OpenParams_t& st) {
    text.number("mode", st.u32Mode);
    text.number("channel", st.u32Channel);
    text.number("keypads", st.u32KeypadCount);
    text.presence("keypad", st.pstKeypadConfig != nullptr);
    static const HW_SAR_KeypadConfig_t kEmpty{};
    const HW_SAR_KeypadConfig_t* const pstKeypad = text.wantsAll() ? &kEmpty : st.pstKeypadConfig;
    if (pstKeypad == nullptr) {
        return;
    }
    text.number("keypadChannel", pstKeypad->u32Channel);
    text.number("firstBound", pstKeypad->u8FirstBound);
    text.number("secondBound", pstKeypad->u8SecondBound);
    text.number("keyLevels", pstKeypad->u8KeyLevelNum);
    text.numbers("keyThreshold", pstKeypad->au8KeyThreshold);
    text.numbers("keyCode", pstKeypad->au8KeyCode);
}
static void fields(CallText& text, const HW_SAR_CallbackParams_t& st) {
    text.presence("callback", st.pfnCallback != nullptr);
    text.number("mask", st.u32EventMask);
    text.number("reserved", st.u32Reserved);
}

// A register address of more bytes than a device takes is refused unread.
constexpr std::size_t kAddressBytes = 4;
static void fields(CallText& text, const HW_IIC_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_IIC_HandleParams_t& st) {
    text.number("port", st.u32Port);
}
static void fields(CallText& text, const HW_IIC_OpenParams_t& st) {
    text.number("port", st.u32Port);
}
static void fields(CallText& text, const HW_IIC_ReadParams_t& st) {
    text.number("readMode", st.eReadMode);
    text.number("slave", st.u16BusNumSlaveId);
    text.number("addressCount", st.u8AddrCnt);
    text.bytes("address", st.pu8Addr, std::min<std::size_t>(st.u8AddrCnt, kAddressBytes));
    text.number("size", st.u16Size);
}
static void fields(CallText& text, const HW_IIC_WriteParams_t& st) {
    const HW_IIC_WriteData_t& stData = st.stWriteData;
    text.number("slave", stData.u16BusNumSlaveId);
    text.number("addressCount", stData.u8AddrCnt);
    text.bytes("address", stData.pu8Addr, std::min<std::size_t>(stData.u8AddrCnt, kAddressBytes));
    text.number("size", stData.u16Size);
    text.bytes("data", stData.pu8Buf, stData.u16Size);
}
static void fields(CallText& text, const HW_IIC_DeviceInfo_t& st) {
    text.number("port", st.ePort);
    text.number("slave", st.u16BusNumSlaveId);
}

static void fields(CallText& text, const HW_GPIO_HandleParams_t& st) {
    text.number("pad", st.u32PadNum);
}
static void fields(CallText& text, const HW_GPIO_OpenParams_t& st) {
    text.number("pad", st.u32PadNum);
}

static void fields(CallText& text, const HW_PWM_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_PWM_HandleParams_t& st) {
    text.number("channel", st.u32Channel);
}
static void fields(CallText& text, const HW_PWM_OpenParams_t& st) {
    text.number("channel", st.u32Channel);
}

static void fields(CallText& text, const HW_PM_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_PM_HandleParams_t& st) {
    text.number("index", st.u32Index);
}
static void fields(CallText& text, const HW_PM_OpenParams_t& st) {
    text.number("index", st.u32Index);
}
static void fields(CallText& text, const HW_PM_LedControl_t& st) {
    text.numbers("color", st.au8Colour);
    text.number("leds", st.u8LedCount);
}

static void fields(CallText& text, const HW_WDT_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_WDT_HandleParams_t& st) {
    text.number("index", st.u32Index);
}
static void fields(CallText& text, const HW_WDT_Timer_t& st) {
    text.number("seconds", st.u32Seconds);
}

static void fields(CallText& text, const HW_IR_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}

static void fields(CallText& text, const HW_NET_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_NET_OpenParams_t& st) {
    text.text("name", st.acName, sizeof(st.acName));
}

namespace describe {

namespace {

void writeReadBytes(CallText& text, const ArgumentValues& values) {
    const auto* const pst = valueOf<const HW_IIC_ReadParams_t*>(values[1]);
    const auto ppu8Buf = valueOf<HW_U8* const*>(values[2]);
    text.bytes("data", ppu8Buf != nullptr ? *ppu8Buf : nullptr, pst != nullptr ? pst->u16Size : 0);
}

// Writes whether the bytes go to the record's own buffer.
void writeIsOwnBuffer(CallText& text, const ArgumentValues& values) {
    const auto* const pst = valueOf<const HW_IIC_ReadParams_t*>(values[1]);
    const auto ppu8Buf = valueOf<HW_U8* const*>(values[2]);
    text.number("ownBuffer", pst != nullptr && ppu8Buf == &pst->pu8Buf ? 1 : 0);
}

void writeNames(CallText& text, const ArgumentValues& values) {
    const auto* const pstList = valueOf<const HW_NET_InterfaceName_t*>(values[0]);
    const auto* const pu32Count = valueOf<const HW_U32*>(values[1]);
    const HW_U32 u32Count = pu32Count != nullptr ? *pu32Count : 0;
    text.number("count", u32Count);
    // The set itself may report a count beyond the list's room.
    for (HW_U32 i = 0; i < std::min(u32Count, HW_NET_INTERFACE_MAX) || (i == 0 && text.wantsAll()); ++i) {
        text.text("name", text.wantsAll() ? nullptr : pstList[i].acName, sizeof(pstList[i].acName));
    }
}

}  // namespace

std::vector<CallDescription> board() {
    return {
        VSET_DESCRIBE(HW_UART_Init, "params"),
        lookUp(VSET_DESCRIBE(HW_UART_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_UART_Open, "params", handle()),
        VSET_DESCRIBE(HW_UART_Close, handle()),
        VSET_DESCRIBE(HW_UART_RegisterCallback, handle(), "params", "out"),
        VSET_DESCRIBE(HW_UART_UnRegisterCallback, handle(), "params"),
        VSET_DESCRIBE(HW_UART_SetBaudrate, handle(), "baudRate"),
        VSET_DESCRIBE(HW_UART_Write, handle(), "params", "written"),
        VSET_DESCRIBE(HW_UART_PutChar, handle(), "char"),

        lookUp(VSET_DESCRIBE(HW_SAR_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_SAR_Open, "params", handle()),
        VSET_DESCRIBE(HW_SAR_ConfigMode, handle(), "mode"),
        VSET_DESCRIBE(HW_SAR_SetVoltageLevel, handle(), "level"),
        VSET_DESCRIBE(HW_SAR_AdcGetValue, handle(), "value"),
        VSET_DESCRIBE(HW_SAR_RegisterCallback, handle(), "params", "out"),
        VSET_DESCRIBE(HW_SAR_UnRegisterCallback, handle(), "params"),

        VSET_DESCRIBE(HW_IIC_Init, "params"),
        lookUp(VSET_DESCRIBE(HW_IIC_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_IIC_Open, "params", handle()),
        VSET_DESCRIBE(HW_IIC_Close, handle()),
        VSET_DESCRIBE(HW_IIC_Read, handle(), "params", inputAndOutput(writeIsOwnBuffer, writeReadBytes)),
        VSET_DESCRIBE(HW_IIC_Write, handle(), "params", "written"),
        VSET_DESCRIBE(HW_IIC_SetDebugLevel, "level"),
        VSET_DESCRIBE(HW_IIC_GetDeviceInfo, "device", "info"),

        lookUp(VSET_DESCRIBE(HW_GPIO_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_GPIO_Open, "params", handle()),
        VSET_DESCRIBE(HW_GPIO_Close, handle()),
        VSET_DESCRIBE(HW_GPIO_SetOutput, handle(), "level"),
        VSET_DESCRIBE(HW_GPIO_GetInput, handle(), "level", "inverted"),

        VSET_DESCRIBE(HW_PWM_Init, "params"),
        lookUp(VSET_DESCRIBE(HW_PWM_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_PWM_Open, "params", handle()),
        VSET_DESCRIBE(HW_PWM_Close, handle()),
        VSET_DESCRIBE(HW_PWM_SetAttr, handle(), "attr",
                      input(attributeValue("param", 2, 1, {{kAnyNumber, value<HW_U32>}}))),
        VSET_DESCRIBE(HW_PWM_GetAttr, handle(), "attr", unusedInput(2),
                      output(attributeValue("output", 3, 1, {{kAnyNumber, value<HW_U32>}}))),

        VSET_DESCRIBE(HW_PM_Init, "params"),
        lookUp(VSET_DESCRIBE(HW_PM_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_PM_Open, "params", handle()),
        VSET_DESCRIBE(HW_PM_Close, handle()),
        VSET_DESCRIBE(HW_PM_GetRtcTime, handle(), "seconds"),
        VSET_DESCRIBE(HW_PM_SetAttr, handle(), "param",
                      input(attributeValue("value", 2, 1, {{E_HW_PM_PARAM_LED_CONTROL, value<HW_PM_LedControl_t>}}))),

        VSET_DESCRIBE(HW_WDT_Init, "params"),
        lookUp(VSET_DESCRIBE(HW_WDT_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_WDT_SetAttr, handle(), "attr",
                      input(attributeValue("param", 2, 1, {{E_HW_WDT_ATTR_SET_TIMER_SEC, value<HW_WDT_Timer_t>}}))),
        VSET_DESCRIBE(HW_WDT_GetAttr, handle(), "attr", unusedInput(2),
                      output(attributeValue("output", 3, 1, {{kAnyNumber, value<HW_U32>}}))),

        VSET_DESCRIBE(HW_IR_Init, "params"),

        VSET_DESCRIBE(HW_NET_Init, "params"),
        VSET_DESCRIBE(HW_NET_DeInit),
        VSET_DESCRIBE(HW_NET_GetInterfaceName, output(writeNames), nothing()),
        VSET_DESCRIBE(HW_NET_Open, "params", handle()),
        VSET_DESCRIBE(HW_NET_Close, handle()),
        VSET_DESCRIBE(HW_NET_DhcpOff, handle(), "ipVersion"),
        VSET_DESCRIBE(HW_NET_DhcpOn, handle(), "ipVersion"),
        VSET_DESCRIBE(HW_NET_SetMac, handle(), "mac"),
        VSET_DESCRIBE(HW_NET_DeviceUp, handle()),
        VSET_DESCRIBE(HW_NET_DeviceDown, handle()),
    };
}

}  // namespace describe

}  // namespace vset
