// SPDX-License-Identifier: Apache-2.0
// What the sources of the peripheral module share.
#ifndef A_VEXTVFAPI_PRPHRL_INTERNAL_H
#define A_VEXTVFAPI_PRPHRL_INTERNAL_H

#include "a_vextvfapi_prphrl.h"
#include "fapi_receive_buffer.h"
#include "hw3/hw_uart.h"

// Events of the serial services.
constexpr unsigned int FAPI_EVENT_UART_DATA = 0x100001;
constexpr unsigned int FAPI_EVENT_PIPE_COMMAND = 0x100003;

// How many HDMI ports the chip has, as a_vextvfapi_prphrl_init found.
extern unsigned char _u8HdmiPortNumber;

// Raises an event whose first object is `object` and whose others are empty.
void _a_vextvfapi_prphrl_raise_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& object);

// --- Serial links ----------------------------------------------------------------------------------------------------

// Of both links: that is why they exclude each other.
extern fapi::ReceiveBuffer receiveBuffer;
bool _a_vextvfapi_prphrl_is_factory_uart_started();
bool _a_vextvfapi_prphrl_is_std_factory_uart_started();

// The interface's numbers are the middleware's. -1 for a number out of range.
int _a_vextvfapi_prphrl_convert_uart_baudrate(signed char baudrate);
int _a_vextvfapi_prphrl_convert_uart_port_type(signed char portType);
int _a_vextvfapi_prphrl_convert_uart_device_type(signed char deviceType);

// Takes one received character, on a thread of the middleware.
HW_Result_t _HW_UART_Callback(HW_Handle_t handle, HW_U32 event, HW_U8* params);

// --- Threads ---------------------------------------------------------------------------------------------------------

void* _a_vextvfapi_prphrl_stdFactoryUartMonitor(void* arg);
void* _a_vextvfapi_prphrl_uart_pipe_task(void* pUartPipeCmdEnd);
void* _a_vextvfapi_prphrl_stdFactoryLedMonitor(void* arg);

#endif
