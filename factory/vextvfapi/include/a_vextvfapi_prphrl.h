// SPDX-License-Identifier: Apache-2.0
// Peripheral module: serial links, keypad and ADC, I2C, GPIO, HDMI, CEC, PWM, LEDs. The only module that raises
// events.
//
// The two serial links, the factory UART (through the chip's middleware, 1 success and 0 failure) and the standard
// factory link (through the tty, 0 and -1), share a receive buffer and exclude each other: either refuses to start
// while the other is started. Only the client that started a link stops it.
#ifndef A_VEXTVFAPI_PRPHRL_H
#define A_VEXTVFAPI_PRPHRL_H

#include <sys/types.h>

#include "fapi_core.h"

// --- Start-up --------------------------------------------------------------------------------------------------------

// Brings up the middleware of the serial ports, external inputs, CEC, I2C and the remote control. May be repeated.
// 0, or -1 at the first that could not be brought up, or when the chip reports five HDMI ports or more. Needs
// a_vextvfapi_sys_init.
FAPI_API int a_vextvfapi_prphrl_init();

// Does nothing: every middleware family stays as it is. Returns 0.
FAPI_API int a_vextvfapi_prphrl_deinit();

// --- Events ----------------------------------------------------------------------------------------------------------

// Registers `callback` for the events of this module, replacing an earlier one; null registers none. Returns 0.
FAPI_API int a_vextvfapi_prphrl_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);

// Removes the callback; harmless when there is none. After it has returned, no call into the old callback starts any
// more. Returns 0.
FAPI_API int a_vextvfapi_prphrl_unreg_callback();

// Delivers an event to the registered callback on the calling thread and returns the callback's result; -1 when no
// callback is registered or the callback throws.
FAPI_API int a_vextvfapi_prphrl_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                          const fapi_core::VexTvFApiEventCommonObject& b,
                                          const fapi_core::VexTvFApiEventCommonObject& c,
                                          const fapi_core::VexTvFApiEventCommonObject& d);

// --- Factory UART ----------------------------------------------------------------------------------------------------
// Lines from a test station. Each line, ended by CR or LF, is event 0x100001 on a middleware thread: the first object's
// bytes are the line without its end, its text the same up to the first zero byte. Empty lines raise nothing. A line
// holds 262,144 bytes; the byte after that is lost together with what was held.

// Starts receiving on port `portType` (0 to 4) with baud rate index `baudrate` (0: 19200, 1: 38400, 2: 57600,
// 3: 230400, 4: 115200), as device `deviceType` (0 to 17) when the port is not open yet. Numbers out of range are
// refused by the middleware.
// 1; 0 when this link or the standard factory link is started, memory is short or the middleware refuses. A port
// that was opened stays open after a failure until stop, and so does a registered callback: call
// a_vextvfapi_prphrl_stop_factory_uart after a failure, before the standard factory link is started. Without that the
// bytes of this port land in the standard link's messages. Needs a_vextvfapi_prphrl_init.
FAPI_API int a_vextvfapi_prphrl_start_factory_uart(signed char baudrate, signed char portType, signed char deviceType);

// Stops receiving and closes the port if start opened it. After it has returned no event of the link comes any more.
// Must not be called inside an event callback: on the link's own thread the registration stays and later bytes are
// lost; on any other thread the call may wait for ever.
// It frees the receive buffer that both links share: the thread of a standard factory link that runs closes its tty and
// ends at its next pass, without an event. Always 1.
FAPI_API int a_vextvfapi_prphrl_stop_factory_uart(signed char portType);

// Sends `length` bytes of `data` followed by CR LF. 1; 0 for null, a length of 0, a link that is not started, or when
// the middleware refuses.
FAPI_API int a_vextvfapi_prphrl_write_factory_uart(const unsigned char* data, unsigned int length);

// Routes the board's serial line to ttyS1 (true) or back to ttyS0 (false).
// 0; negative when the routing switch cannot be opened and the debug switch is off, positive with it on.
FAPI_API int a_vextvfapi_prphrl_switch_to_ttys1(bool enable);

// --- Standard factory link -------------------------------------------------------------------------------------------
// Raw bytes of /dev/ttyS0 or /dev/ttyS1 (8 data bits, no parity, no flow control), cut into messages. Each message is
// event 0x100001 on the link's own thread; the first object's bytes are the message, its text is empty. How the bytes
// are cut is set while the link runs.

// Opens tty `port` (0 or 1) with baud rate index `baudrate` as above, and starts the thread unless `config` is write
// only. The cut starts with a limit of 262,144 bytes, and in the mode that was set last.
// 0; -1 when either link is started, memory is short, an argument is out of range, the tty cannot be opened or
// configured, or the thread cannot be started.
// A write-only link cannot be stopped: both links stay refused until the process ends.
FAPI_API int a_vextvfapi_prphrl_std_factory_uart_start(signed char baudrate, signed char port,
                                                       fapi_core::VexTvFApiStdFactoryUartConfig config);

// Asks the thread to end and waits for it in steps of a second, ten at most; it ends within half a second unless the
// event callback holds it. It closes the tty.
// 0, also when nothing was started; -1 when it did not end in time, always for a write-only link, and when called
// inside the event callback, which is what holds the thread then.
FAPI_API int a_vextvfapi_prphrl_std_factory_uart_stop();

// Sends `length` bytes, once and without looking at how many the line takes. 0; -1 for null, a length of 0 or a link
// that is not started.
FAPI_API int a_vextvfapi_prphrl_std_factory_uart_write(const unsigned char* data, unsigned char length);

// Sets how the bytes are cut, from the next byte on; the limit, from the next read on, when what is held has been sent.
//
//     mode 0  a message ends with CR or LF, which are not part of it
//     mode 1  every `size` bytes (0: as before; at most 262,144)
//     mode 2  a message ends with the byte `semicolon`, which is not part of it, or after `size` bytes
//     mode 3  every byte is a message
//
// A negative mode acts as mode 1. 0; -1 for a mode above 3 or a link that is not started.
FAPI_API int a_vextvfapi_prphrl_std_factory_uart_custom_config(signed char mode, unsigned char semicolon,
                                                               unsigned int size);

// --- Pipe mode -------------------------------------------------------------------------------------------------------
// Commands that another process of the set writes into the FIFO /data/vendor/uartCmdPipe. Each command is event
// 0x100003 on the pipe's own thread: the first object's bytes are the command and a zero byte in place of its end, its
// text the same up to the first zero byte. The last byte of every read counts as an end, and an underscore before it as
// a blank; a read that ends in 0x03 ends pipe mode. A command of 2,048 bytes without an end is lost.

// Starts (`enable` not 0) or stops pipe mode. The first byte of `pUartPipeCmdEnd` ends a command; it is copied.
// It must be terminated, because it is copied as a text.
// Start: 0 once the thread is up, or after a second all the same; -1 while the thread of an earlier start still runs,
// for instance because nobody has opened the FIFO for writing since, or when it cannot be started. Null starts nothing
// and returns 0 after a second. Stop: 0 when the thread has ended, or after a second all the same: so always inside
// the callback of a pipe command, on whose thread it waits for itself.
FAPI_API int a_vextvfapi_prphrl_set_uart_pipe_mode(unsigned char enable, const unsigned char* pUartPipeCmdEnd);

// --- Keypad and ADC --------------------------------------------------------------------------------------------------
// The keypad is a ladder of resistors that the chip's converter reads. Its thresholds and key codes come from the
// board's configuration file. Each key press is event 0x100002 on a middleware thread, its code the first object's
// value; with ADC reading switched on event 0x100004 follows, with the reading, or 255 when it failed, as the value.
// Handles are opened once and kept; there is nothing to end but the keypad's reporting.

// Reads the keypad's configuration and opens it, again if it is open.
// 1; 0 when the configuration names no board file, the low byte of a bound, of the level count or of an entry of a list
// is zero (no number counts as zero), a list has more than eight entries, memory is short or the middleware refuses.
FAPI_API int a_vextvfapi_prphrl_keypad_init();

// Starts the reporting of keys; opens the keypad as a_vextvfapi_prphrl_keypad_init does, unless
// a_vextvfapi_prphrl_start_adc has been called before: then whatever keypad is open is used. 1 or 0.
FAPI_API int a_vextvfapi_prphrl_start_keypad();

// Ends the reporting. After it has returned no key event comes any more. Must not be called inside an event callback:
// in that of a key event it fails, in any other it may wait for ever. 1 or 0.
FAPI_API int a_vextvfapi_prphrl_stop_keypad();

// Opens the ADC channel that belongs to the keypad; `readAdcInKeypad` 1 has every key followed by a reading of it, any
// other value ends that. 0 or -1.
FAPI_API int a_vextvfapi_prphrl_start_adc(unsigned char readAdcInKeypad);

// Reads ADC channel `channel` at voltage level `voltageLevel`. The channel of the first call that gets hold of one is
// kept: later calls read that one, whatever they ask for. The reading; 0 on any failure, which a reading may be, too.
FAPI_API int a_vextvfapi_prphrl_get_sar_adc(unsigned int channel, unsigned int voltageLevel);

// --- Remote control --------------------------------------------------------------------------------------------------

// Stores the low byte of the hexadecimal number that stands under `key` ("section:key") in the remote control's
// configuration file. 0, also when the value is negative or no number, or `format` is null: nothing is stored then.
// -1 when the configuration cannot be found, -4 when memory is short, else what a_vextvfapi_info_get_ini_para returned.
FAPI_API int a_vextvfapi_prphrl_get_rc_format(const unsigned char* key, unsigned char* format);

// --- I2C -------------------------------------------------------------------------------------------------------------
// Calls on I2C must not overlap: the bus handle is one for the process. `busNumSlaveId` holds the bus number in its
// high byte and the 8-bit slave address in its low byte. Needs a_vextvfapi_prphrl_init.

// Opens bus `bus`, or finds it open. 0 or -1.
FAPI_API int a_vextvfapi_prphrl_enable_iic(int bus);

// Closes bus `bus` if this library has opened a bus since the last close; which one it does not remember, so close a
// bus before the next one is opened. One that is not open is opened and closed. 0, also when nothing was closed; -1
// when the middleware refuses. A bus whose close failed stays open, and counts as not opened by this library from then
// on: another call does not close it.
FAPI_API int a_vextvfapi_prphrl_disable_iic(int bus);

// Reads `size` bytes (0 to 65,535) into `out`, from the register that the `addrCnt` bytes of `addr` (0 to 255) name.
// `readMode` is 0 to 2. Opens the bus when it is not open and leaves it so. 0; -1 for an argument out of range, null
// where bytes are meant, short memory, or when the bus or the device does not answer.
FAPI_API int a_vextvfapi_prphrl_read_from_iic(int bus, unsigned short readMode, unsigned short busNumSlaveId,
                                              unsigned short addrCnt, const unsigned char* addr, unsigned short size,
                                              unsigned char* out);

// Writes `size` bytes of `data` in one transfer. Arguments and statuses as for reading.
FAPI_API int a_vextvfapi_prphrl_write_to_iic(int bus, unsigned short busNumSlaveId, unsigned short addrCnt,
                                             const unsigned char* addr, unsigned short size, const unsigned char* data);

// Stores bus and slave address of the board's device number `deviceId`, 0 when it has none. `port` is the bus to open
// for the question. 0; -1 for null or an unknown device, or when the close fails, after storing. 0 with nothing stored
// when the bus cannot be opened.
FAPI_API int a_vextvfapi_prphrl_get_iic_slave_address(unsigned short deviceId, unsigned short port,
                                                      unsigned short* slaveId);

// --- GPIO ------------------------------------------------------------------------------------------------------------
// Calls on single pads must not overlap. The monitor may run beside calls on other pads; one on the pad that it watches
// takes the handle from it or from the call.

// Makes pad `pad` an output and drives it with `level` (0 or 1). 0, also when the chip refuses to drive it; -1 for
// another level, or when the pad cannot be opened or closed.
FAPI_API int a_vextvfapi_prphrl_control_gpio(unsigned int pad, unsigned int level);

// Stores the level of pad `pad` as wired, 0 or 1. 0, also when the pad cannot be read and nothing was stored; -1 for
// pad 0, null, or when the pad cannot be opened or closed.
FAPI_API int a_vextvfapi_prphrl_get_gpio_status(unsigned int pad, unsigned char* level);

// Watches pad `pad` on a thread of its own, one pad at a time: reads it every `delayUs` microseconds (0: without a
// pause). Event 0x100005 comes with the new level as the first object's value once more than `debounceCnt` readings
// since the last event differed from what was reported last; it comes with 255 when the pad cannot be watched (any
// longer), which ends the watch.
// 0; -1 when a watch is started already or the thread cannot be. When the pad cannot be opened, the watch ends without
// an event and counts as started until it is stopped.
FAPI_API int a_vextvfapi_prphrl_gpio_monitor_start(unsigned int pad, unsigned int delayUs, unsigned int debounceCnt);

// Ends the watch, waiting in steps of a second, ten at most. 0, also when there was none; -1 when it did not end in
// time, and after ten seconds also for a watch whose pad could not be opened, with which the next start works again.
// Inside the callback of event 0x100005 it waits these ten seconds in vain and answers -1; the watch ends when the
// callback has returned.
FAPI_API int a_vextvfapi_prphrl_gpio_monitor_stop();

// --- HDMI ------------------------------------------------------------------------------------------------------------
// Ports are those that a_vextvfapi_prphrl_init has counted. Calls must not overlap.

// Chooses which EDID a source reads from port `port` (0 to 3): `version` 1, 2 or 3; 0 and below is the board's own. 0;
// -1 for a port or version that there is not, or when the middleware refuses.
FAPI_API int a_vextvfapi_prphrl_set_hdmi_edid_version(unsigned int port, signed char version);

// Stores which EDID port `port` has: 1, 2, 3, or 0 for any other. 0; -1 when the middleware refuses; -2 for null or a
// port that there is not.
FAPI_API int a_vextvfapi_prphrl_get_hdmi_edid_version(unsigned int port, signed char* version);

// Replaces the EDID `version` of port `port` by the `size` bytes of `data`, at most 512, and chooses it. 0 or -1.
FAPI_API int a_vextvfapi_prphrl_set_hdmi_edid_data(unsigned int port, signed char version, unsigned int size,
                                                   const unsigned char* data);

// Stores the EDID that a source reads from port `port`, its first 512 bytes at most. 0; -1 for null, a port that there
// is not, or when the middleware refuses; `edid` is untouched then.
FAPI_API int a_vextvfapi_prphrl_get_hdmi_edid_data(unsigned int port, fapi_core::VexTvFApiHDMI_EDID_Data_t* edid);

// Puts the hot-plug line of port `port` to `level`. 0; -1 for a port above the number of ports, or when the middleware
// refuses; -2 for a port equal to it.
FAPI_API int a_vextvfapi_prphrl_set_hdmi_hpd(unsigned char port, unsigned char level);

// --- CEC and eARC ----------------------------------------------------------------------------------------------------
// Calls must not overlap.

// Switches CEC on (`enable` not 0) or off. 0 or -1.
FAPI_API int a_vextvfapi_prphrl_enable_cec(unsigned char enable);

// Stores 1 when CEC is on, else 0. 0; -1 for null or when the middleware refuses.
FAPI_API int a_vextvfapi_prphrl_get_cec_status(signed char* s8EnableStatus);

// Stores the chip's eARC status. 0; -1 for null or when the middleware refuses, after storing if that is the close.
FAPI_API int a_vextvfapi_prphrl_get_earc_status(int* s32EArcStatus);

// --- PWM -------------------------------------------------------------------------------------------------------------

// Sets or stores attribute `attr` (0 to 2) of channel `channel` (0 to 17). 0; -1 for an attribute or channel out of
// range, or when the middleware refuses. A null `value` is refused by the middleware.
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

// `mode` 0: a thread shows red, green, blue and dark in turn, a second each; 1: white, which shows after one second and
// returns after three; 2: ends the cycle, returns after a second, and leaves what is shown. A cycle that runs goes on
// to its end, up to four seconds, and may replace the white. Each mode 0 starts a cycle of its own. 0; -1 for another
// mode, or when the middleware or the thread fails.
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

// What the middleware calls for a key: raises its events. 0; 3 for anything but a press. `handle` is not looked at,
// null `params` is a press without a key.
FAPI_API unsigned int _a_vextvfapi_prphrl_sar_key_callback(unsigned int handle, unsigned int event,
                                                           unsigned char* params);

// Finds HDMI port `port` open or opens it; `opened` is 1 when the caller is to close it. 0; -1 when it cannot be
// opened; -2 for a port that there is not. `handle` is 0 after a failure.
FAPI_API int _a_vextvfapi_prphrl_get_hdmi_handle(unsigned char port, int& handle, unsigned char& opened);

// Puts the hot-plug line of an open HDMI port to `level`. 0; -1 when the middleware refuses, -2 for handle 0.
FAPI_API int _a_vextvfapi_prphrl_set_hdmi_hpd(int handle, unsigned char port, unsigned char level);

#endif
