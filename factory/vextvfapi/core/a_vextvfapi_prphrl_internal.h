// SPDX-License-Identifier: Apache-2.0
// What the sources of the peripheral module share.
#ifndef A_VEXTVFAPI_PRPHRL_INTERNAL_H
#define A_VEXTVFAPI_PRPHRL_INTERNAL_H

#include "a_vextvfapi_prphrl.h"
#include "base/fapi_receive_buffer.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_pwm.h"
#include "hw3/hw_uart.h"

constexpr unsigned int FAPI_EVENT_UART_DATA = 0x100001;
constexpr unsigned int FAPI_EVENT_KEY = 0x100002;
constexpr unsigned int FAPI_EVENT_PIPE_COMMAND = 0x100003;
constexpr unsigned int FAPI_EVENT_ADC = 0x100004;
constexpr unsigned int FAPI_EVENT_PAD = 0x100005;

// How many HDMI ports the chip has, as a_vextvfapi_prphrl_init found.
extern unsigned char _u8HdmiPortNumber;

// Raises an event whose first object is `object`, or carries `value`, and whose others are empty.
void raiseEvent(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& object);
void raiseEvent(unsigned int event, int value);

// --- Serial links ----------------------------------------------------------------------------------------------------

// Of both links: that is why they exclude each other.
extern fapi::ReceiveBuffer _receiveBuffer;
bool isFactoryUartStarted();
bool isStdFactoryUartStarted();

// The interface's numbers are the middleware's. -1 for a number out of range.
int _a_vextvfapi_prphrl_convert_uart_baudrate(signed char baudrate);
int _a_vextvfapi_prphrl_convert_uart_port_type(signed char portType);
int _a_vextvfapi_prphrl_convert_uart_device_type(signed char deviceType);

// Takes one received character, on a thread of the middleware.
HW_Result_t _HW_UART_Callback(HW_Handle_t handle, HW_U32 event, HW_U8* params);

// --- The middleware's numbers ----------------------------------------------------------------------------------------

// 1, 2 and 3 are the same on both sides; everything else is the default.
HW_EXTIN_HdmiEdidVersion_e _convertToHwHdmiEdidVersion(signed char version);
signed char _convertHwToHdmiEdidVersion(unsigned int version);

// E_HW_PWM_CHANNEL_INVALID for a number out of range.
HW_PWM_Channel_e _convertToHwPwmChannel(fapi_core::VexTvFApiPwmChannel channel);

// The handle of a PWM channel in the middleware's numbers; `opened` is 1 when the caller is to close it. 0: none.
HW_Handle_t _a_vextvfapi_prphrl_get_pwm_handle(unsigned int channel, unsigned char& opened);

// --- Threads ---------------------------------------------------------------------------------------------------------

void* _a_vextvfapi_prphrl_stdFactoryUartMonitor(void* arg);
void* _a_vextvfapi_prphrl_gpio_monitor_task(void* arg);
void* _a_vextvfapi_prphrl_uart_pipe_task(void* pUartPipeCmdEnd);
void* _a_vextvfapi_prphrl_stdFactoryLedMonitor(void* arg);

#endif
