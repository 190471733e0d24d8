// SPDX-License-Identifier: Apache-2.0
// Peripheral module: serial links, keypad and ADC, I2C, GPIO, HDMI, CEC, PWM, LEDs. The only module that raises events.
//
// There are two serial links: the factory UART, through the chip's middleware, and the standard factory link, through
// the tty. They share a receive buffer and exclude each other: either refuses to start while the other is started. Only
// the client that started a link stops it.
//
// Statuses are 0 for success and -1 for failure unless an operation says otherwise. Contract: operations of the factory
// UART and most of the keypad return 1 for success and 0 for failure.
#ifndef A_VEXTVFAPI_PRPHRL_H
#define A_VEXTVFAPI_PRPHRL_H

#include <sys/types.h>

#include "fapi_core.h"

// --- Start-up --------------------------------------------------------------------------------------------------------

// Brings up the middleware of the serial ports, external inputs, CEC, I2C and the remote control. May be repeated. Ends
// with -1 at the first that could not be brought up, and when the chip reports five HDMI ports or more. Needs
// a_vextvfapi_sys_init.
FAPI_API int a_vextvfapi_prphrl_init();

// Does nothing: every middleware family stays as it is. Returns 0.
FAPI_API int a_vextvfapi_prphrl_deinit();

// --- Events ----------------------------------------------------------------------------------------------------------
// fapi_core.h describes the three operations and the events.

FAPI_API int a_vextvfapi_prphrl_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);
FAPI_API int a_vextvfapi_prphrl_unreg_callback();
FAPI_API int a_vextvfapi_prphrl_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                          const fapi_core::VexTvFApiEventCommonObject& b,
                                          const fapi_core::VexTvFApiEventCommonObject& c,
                                          const fapi_core::VexTvFApiEventCommonObject& d);

// --- Factory UART ----------------------------------------------------------------------------------------------------
// Receives lines from a test station. Each line, ended by CR or LF, is event E_VEXTVFAPI_EVENT_UART_DATA on a
// middleware thread: the first object's bytes are the line without its end, its text the same up to the first zero
// byte. Empty lines raise no event. A line holds 262,144 bytes; one more byte is lost together with the whole line.

// Starts receiving. Numbers out of range are refused by the middleware. Needs a_vextvfapi_prphrl_init.
// [in] baudrate    0: 19200, 1: 38400, 2: 57600, 3: 230400, 4: 115200
// [in] portType    0 to 4
// [in] deviceType  the chip's number, 0 to 17; used when the port is not open yet
//  1  done
//  0  a link is started; memory is short; the middleware refuses. Port and callback stay as they are: call
//     a_vextvfapi_prphrl_stop_factory_uart before the standard factory link is started, or bytes of this port become
//     part of that link's messages
FAPI_API int a_vextvfapi_prphrl_start_factory_uart(signed char baudrate, signed char portType, signed char deviceType);

// Stops receiving and closes the port if start opened it. After it has returned no event of the link comes. Must not be
// called inside an event callback: on the link's own thread the registration stays and later bytes are lost; on any
// other thread the call may wait forever. Contract: it frees the receive buffer that both links share, so that a
// running standard factory link closes its tty and ends without an event. Returns 1.
FAPI_API int a_vextvfapi_prphrl_stop_factory_uart(signed char portType);

// Sends `length` bytes of `data` and CR LF.
//  1  done
//  0  null; a length of 0; the link is not started; the middleware refuses
FAPI_API int a_vextvfapi_prphrl_write_factory_uart(const unsigned char* data, unsigned int length);

// Routes the board's serial line to ttyS1 (true) or back to ttyS0 (false). Returns 0. Contract: when the routing switch
// cannot be opened the result is negative with the log off, and the positive length of the log line with the log on.
FAPI_API int a_vextvfapi_prphrl_switch_to_ttys1(bool enable);

// --- Standard factory link -------------------------------------------------------------------------------------------
// Receives raw bytes of /dev/ttyS0 or /dev/ttyS1 (8 data bits, no parity, no flow control) and cuts them into messages.
// Each message is event E_VEXTVFAPI_EVENT_UART_DATA on the link's own thread; the first object's bytes are the message,
// its text is empty. The cut is set while the link runs.

// Opens a tty and starts the thread unless `config` is write-only. The cut starts with a limit of 262,144 bytes, in the
// mode that was set last. A write-only link cannot be stopped: both links refuse to start until the process ends.
// [in] baudrate  as for the factory UART
// [in] port      0 or 1
// -1 when a link is started, memory is short, an argument is out of range, the tty cannot be opened or configured, or
// the thread cannot be started.
FAPI_API int a_vextvfapi_prphrl_std_factory_uart_start(signed char baudrate, signed char port,
                                                       fapi_core::VexTvFApiStdFactoryUartConfig config);

// Asks the thread to end and polls it each second, ten times at most; it ends within half a second unless the event
// callback holds it. The thread closes the tty.
//  0  it has ended, or was not started
// -1  it did not end in time: always for a write-only link, and inside the link's own event callback
FAPI_API int a_vextvfapi_prphrl_std_factory_uart_stop();

// Sends `length` bytes with one write. Contract: bytes that the line does not take are lost. -1 for null, a length of 0
// or a link that is not started.
FAPI_API int a_vextvfapi_prphrl_std_factory_uart_write(const unsigned char* data, unsigned char length);

// Sets the cut from the next byte on, and the limit from the next read on, after sending the bytes held so far. -1 for
// a mode above 3 or a link that is not started. Contract: a negative mode acts as mode 1.
// [in] mode  0  a message ends with CR or LF, which is not part of it
//            1  every `size` bytes (0: as before; at most 262,144)
//            2  a message ends with the byte `semicolon`, which is not part of it, or after `size` bytes
//            3  every byte is a message
FAPI_API int a_vextvfapi_prphrl_std_factory_uart_custom_config(signed char mode, unsigned char semicolon,
                                                               unsigned int size);

// --- Pipe mode -------------------------------------------------------------------------------------------------------
// Receives commands that another process of the set writes into the FIFO /data/vendor/uartCmdPipe. Each command is
// event E_VEXTVFAPI_EVENT_UART_PIPE on the pipe's own thread: the first object's bytes are the command and a zero byte
// in place of its end, its text the same up to the first zero byte. Contract: the last byte of every read counts as an
// end, and an underscore before it as a blank; a read that ends in 0x03 ends pipe mode; a command of 2,048 bytes
// without an end is lost.

// Starts (`enable` not 0) or stops pipe mode. Waits a second at most.
// [in] pUartPipeCmdEnd  a terminated text, which is copied; its first byte ends a command. Null starts nothing and
//                       returns 0 after a second
//  0  start: the thread runs, or did not answer within the second; stop: always, also when the thread still runs, as it
//     does inside the callback of a pipe command
// -1  the thread of an earlier start still runs (it waits until a process opens the FIFO for writing), or no thread can
//     be started
FAPI_API int a_vextvfapi_prphrl_set_uart_pipe_mode(unsigned char enable, const unsigned char* pUartPipeCmdEnd);

// --- Keypad and ADC --------------------------------------------------------------------------------------------------
// The keypad is a ladder of resistors that the chip's converter reads. Its thresholds and key codes are in the board's
// configuration file. Each key press is event E_VEXTVFAPI_EVENT_KEY on a middleware thread, with its code as the first
// object's value; with ADC reading on, event E_VEXTVFAPI_EVENT_ADC follows with the reading, or 255 when it failed.
// Handles are opened once and kept.

// Reads the keypad's configuration and opens the keypad, also when it is open.
//  1  done
//  0  the configuration names no board file; the low byte of a bound, of the level count or of a list's entry is zero
//     (a text that is no number counts as zero); a list has more than eight entries; memory is short; the middleware
//     refuses
FAPI_API int a_vextvfapi_prphrl_keypad_init();

// Starts the reporting of keys. Opens the keypad as a_vextvfapi_prphrl_keypad_init does; contract: after a call of
// a_vextvfapi_prphrl_start_adc it uses the keypad that is open instead. 1 or 0.
FAPI_API int a_vextvfapi_prphrl_start_keypad();

// Ends the reporting. After it has returned no key event comes. Must not be called inside an event callback: it fails
// in that of a key event, and may wait forever in any other. 1 or 0.
FAPI_API int a_vextvfapi_prphrl_stop_keypad();

// Opens the keypad's ADC channel. `readAdcInKeypad` 1 has a reading follow every key; any other value ends that. 0 or
// -1.
FAPI_API int a_vextvfapi_prphrl_start_adc(unsigned char readAdcInKeypad);

// Reads an ADC channel. Returns the reading, or 0 after a failure, which a reading may be, too. Contract: the channel
// of the first call that obtains one is kept, and later calls read that channel whatever they ask for.
// [in] voltageLevel  the chip's number
FAPI_API int a_vextvfapi_prphrl_get_sar_adc(unsigned int channel, unsigned int voltageLevel);

// --- Remote control --------------------------------------------------------------------------------------------------

// Reads a number of the remote control's configuration file.
// [in]  key     "section:key" of a hexadecimal number
// [out] format  the number's low byte
//  0  done; also when the value is negative or no number, or `format` is null: nothing is stored then
// -1  the configuration cannot be found
// -4  memory is short
// or a status of a_vextvfapi_info_get_ini_para
FAPI_API int a_vextvfapi_prphrl_get_rc_format(const unsigned char* key, unsigned char* format);

// --- I2C -------------------------------------------------------------------------------------------------------------
// Calls must not overlap: the bus handle is one for the process. `busNumSlaveId` holds the bus number in its high byte
// and the 8-bit slave address in its low byte. Needs a_vextvfapi_prphrl_init.

// Opens a bus, or finds it open.
FAPI_API int a_vextvfapi_prphrl_enable_iic(int bus);

// Closes a bus if this library has opened one since the last close. Contract: it does not remember which one, so close
// a bus before the next one is opened; a bus that is not open is opened and closed; a bus whose close failed stays
// open, and another call does not close it.
//  0  done, or nothing to close
// -1  the middleware refuses
FAPI_API int a_vextvfapi_prphrl_disable_iic(int bus);

// Read and write a device in one transfer. They open the bus when it is not open, and leave it open. -1 for an argument
// out of range, null for bytes, short memory, and when the bus or the device does not answer.
// [in]  readMode  the chip's number, 0 to 2
// [in]  addr      `addrCnt` bytes, 0 to 255: the register
// [out] out       `size` bytes, 0 to 65,535
// [in]  data      the same
FAPI_API int a_vextvfapi_prphrl_read_from_iic(int bus, unsigned short readMode, unsigned short busNumSlaveId,
                                              unsigned short addrCnt, const unsigned char* addr, unsigned short size,
                                              unsigned char* out);

FAPI_API int a_vextvfapi_prphrl_write_to_iic(int bus, unsigned short busNumSlaveId, unsigned short addrCnt,
                                             const unsigned char* addr, unsigned short size, const unsigned char* data);

// Reads bus and slave address of a device of the board.
// [in]  deviceId  the board's number of the device
// [in]  port      the bus that is opened for the query
// [out] slaveId   as `busNumSlaveId`; 0 when the board has no such address
//  0  done; contract: also when the bus cannot be opened (nothing is stored)
// -1  null; an unknown device; the close failed (after storing)
FAPI_API int a_vextvfapi_prphrl_get_iic_slave_address(unsigned short deviceId, unsigned short port,
                                                      unsigned short* slaveId);

// --- GPIO ------------------------------------------------------------------------------------------------------------
// Calls must not overlap. The monitor may run during calls on other pads; a call on the monitored pad and the monitor
// may close each other's handle.

// Makes a pad an output and drives it with `level`, 0 or 1.
//  0  done; contract: also when the chip refuses to drive the pad
// -1  another level; the pad cannot be opened or closed
FAPI_API int a_vextvfapi_prphrl_control_gpio(unsigned int pad, unsigned int level);

// Reads the level of a pad as wired, 0 or 1.
//  0  done; contract: also when the pad cannot be read (nothing is stored)
// -1  pad 0; null; the pad cannot be opened or closed
FAPI_API int a_vextvfapi_prphrl_get_gpio_status(unsigned int pad, unsigned char* level);

// Monitors one pad on a thread. Event E_VEXTVFAPI_EVENT_GPIO comes with the new level once more than `debounceCnt`
// readings since the last event have differed from the level reported last; it comes with 255 when the pad cannot be
// monitored (any longer), which ends the thread. When the pad cannot be opened, the thread ends without an event, and
// the monitor counts as started until it is stopped.
// [in] delayUs  between two readings; 0: no pause
// -1 when a monitor is started, and when the thread cannot be.
FAPI_API int a_vextvfapi_prphrl_gpio_monitor_start(unsigned int pad, unsigned int delayUs, unsigned int debounceCnt);

// Stops the monitor: polls its thread each second, ten times at most.
//  0  it has ended, or was not started
// -1  it did not end in time: always inside its own event callback, and also for a pad that could not be opened; the
//     next start works again in this case
FAPI_API int a_vextvfapi_prphrl_gpio_monitor_stop();

// --- HDMI ------------------------------------------------------------------------------------------------------------
// Ports are those that a_vextvfapi_prphrl_init has counted. Calls must not overlap.

// Selects the EDID that a source reads. -1 for an unknown port or version, and when the middleware refuses.
// [in] port     0 to 3
// [in] version  1, 2 or 3; 0 and below is the board's own
FAPI_API int a_vextvfapi_prphrl_set_hdmi_edid_version(unsigned int port, signed char version);

// Reads which EDID a port has.
// [out] version  1, 2, 3, or 0 for any other
//  0  done
// -1  the middleware refuses
// -2  null; an unknown port
FAPI_API int a_vextvfapi_prphrl_get_hdmi_edid_version(unsigned int port, signed char* version);

// Replaces an EDID of a port by `size` bytes of `data`, at most 512, and selects it.
FAPI_API int a_vextvfapi_prphrl_set_hdmi_edid_data(unsigned int port, signed char version, unsigned int size,
                                                   const unsigned char* data);

// Reads the EDID that a source reads, 512 bytes at most. -1 for null, an unknown port, and when the middleware refuses;
// `edid` is untouched then.
FAPI_API int a_vextvfapi_prphrl_get_hdmi_edid_data(unsigned int port, fapi_core::VexTvFApiHDMI_EDID_Data_t* edid);

// Sets the hot-plug line of a port. `level` is the chip's.
//  0  done
// -1  a port above the number of ports; the middleware refuses
// -2  contract: a port equal to the number of ports
FAPI_API int a_vextvfapi_prphrl_set_hdmi_hpd(unsigned char port, unsigned char level);

// --- CEC and eARC ----------------------------------------------------------------------------------------------------
// Calls must not overlap.

// Switches CEC on (`enable` not 0) or off.
FAPI_API int a_vextvfapi_prphrl_enable_cec(unsigned char enable);

// Reads whether CEC is on: 1, else 0. -1 for null and when the middleware refuses.
FAPI_API int a_vextvfapi_prphrl_get_cec_status(signed char* s8EnableStatus);

// Reads the chip's eARC status. -1 for null and when the middleware refuses; a failed close has stored the status.
FAPI_API int a_vextvfapi_prphrl_get_earc_status(int* s32EArcStatus);

// --- PWM -------------------------------------------------------------------------------------------------------------

// Set and read an attribute of a channel. -1 for an argument out of range and when the middleware refuses, a null
// `value` included.
// [in]      attr     0 to 2; attribute and value are the chip's
// [in]      channel  0 to 17
FAPI_API int a_vextvfapi_prphrl_pwm_set_attr(fapi_core::VexTvFApiPwmAttr attr, fapi_core::VexTvFApiPwmChannel channel,
                                             unsigned int value);
FAPI_API int a_vextvfapi_prphrl_pwm_get_attr(fapi_core::VexTvFApiPwmAttr attr, fapi_core::VexTvFApiPwmChannel channel,
                                             unsigned int* value);

// --- Remote-control block keys ---------------------------------------------------------------------------------------
// This chip has none: all three return -1.

FAPI_API int a_vextvfapi_prphrl_enable_ir_block_key(unsigned char bEnable);
FAPI_API int a_vextvfapi_prphrl_add_ir_block_key(unsigned long long scanCode, unsigned long long keyCode);
FAPI_API int a_vextvfapi_prphrl_invert_ir_block_key(unsigned char bEnable);

// --- LED ring --------------------------------------------------------------------------------------------------------

// Shows colors. A cycle that runs goes on to its end, up to four seconds, and may replace the white. -1 for another
// mode, and when the middleware or the thread fails.
// [in] mode  0  starts a thread that shows red, green, blue and dark in turn, a second each; every call starts another
//               one
//            1  white, which shows after one second; returns after three
//            2  ends the cycle and leaves what is shown; returns after one second
FAPI_API int a_vextvfapi_prphrl_set_mic_led(unsigned int mode);

// --- For the library's own modules -----------------------------------------------------------------------------------

// Brings up CEC. 0 or -1.
FAPI_API int _a_vextvfapi_prphrl_init_cec();

// Brings up the external inputs and reads how many HDMI ports there are. 0; -1 when the middleware refuses or reports
// five ports or more.
FAPI_API int _a_vextvfapi_prphrl_extin_Init();

// Opens `path` as the standard factory link's tty, with a termios speed (B115200, ...). False when it cannot be opened
// or configured. An earlier tty is not closed.
FAPI_API bool _a_vextvfapi_prphrl_uartOpen(const char* path, int speed, int blocking,
                                           fapi_core::VexTvFApiStdFactoryUartConfig config);

// Makes the tty `fd` a raw line of 8 data bits; of `parity` only PARENB and PARODD are meant. False, and errno, when
// the tty refuses.
FAPI_API bool _a_vextvfapi_prphrl_setInterfaceAttr(int fd, int speed, int parity);

// Makes reads of the tty `fd` wait for a byte (`shouldBlock` not 0), or for half a second at most. False when the tty
// refuses.
FAPI_API bool _a_vextvfapi_prphrl_setBlocking(int fd, int shouldBlock);

// write() and read() on the standard factory link's tty; -1 when it is not open, or for a null text.
FAPI_API ssize_t _a_vextvfapi_prphrl_uartWritestr(const char* s);
FAPI_API ssize_t _a_vextvfapi_prphrl_uartWrite(void* buf, unsigned long n);
FAPI_API ssize_t _a_vextvfapi_prphrl_uartRead(void* buf, unsigned long n);

// Makes the FIFO of pipe mode and opens it for reading, which waits for a writer. The descriptor, or negative.
FAPI_API int _a_vextvfapi_prphrl_create_pipe_file();

// Raises the events of a key; the middleware calls it. 0; 3 for anything but a press. `handle` is not used,
// null `params` is a press without a key.
FAPI_API unsigned int _a_vextvfapi_prphrl_sar_key_callback(unsigned int handle, unsigned int event,
                                                           unsigned char* params);

// Finds an HDMI port open, or opens it.
// [out] handle  0 after a failure
// [out] opened  1 when the caller is to close the handle
//  0  done
// -1  the port cannot be opened
// -2  an unknown port
FAPI_API int _a_vextvfapi_prphrl_get_hdmi_handle(unsigned char port, int& handle, unsigned char& opened);

// Puts the hot-plug line of an open HDMI port to `level`. 0; -1 when the middleware refuses, -2 for handle 0.
FAPI_API int _a_vextvfapi_prphrl_set_hdmi_hpd(int handle, unsigned char port, unsigned char level);

#endif
