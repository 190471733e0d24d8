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
// that was opened stays open after a failure until stop. Needs a_vextvfapi_prphrl_init.
FAPI_API int a_vextvfapi_prphrl_start_factory_uart(signed char baudrate, signed char portType, signed char deviceType);

// Stops receiving and closes the port if start opened it. After it has returned no event of the link comes any more,
// unless it is called inside the event callback: then the registration stays, and bytes that still come are lost. It
// also ends a standard factory link, whose buffer goes. Always 1.
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
// Start: 0 once the thread is up, or after a second all the same; -1 while the thread of an earlier start still runs,
// for instance because nobody has opened the FIFO for writing since, or when it cannot be started. Null starts nothing
// and returns 0 after a second. Stop: 0 when the thread has ended, or after a second all the same.
FAPI_API int a_vextvfapi_prphrl_set_uart_pipe_mode(unsigned char enable, const unsigned char* pUartPipeCmdEnd);

// --- Remote-control block keys ---------------------------------------------------------------------------------------
// This chip has none: all three return -1.

FAPI_API int a_vextvfapi_prphrl_enable_ir_block_key(unsigned char bEnable);
FAPI_API int a_vextvfapi_prphrl_add_ir_block_key(unsigned long long scanCode, unsigned long long keyCode);
FAPI_API int a_vextvfapi_prphrl_invert_ir_block_key(unsigned char bEnable);

// --- LED ring --------------------------------------------------------------------------------------------------------

// `mode` 0: a thread shows red, green, blue and dark in turn, a second each; 1: white, after three seconds; 2: ends the
// cycle, after a second, and leaves what it shows. A cycle that runs goes on to its end, up to four seconds. Each mode
// 0 starts a cycle of its own.
// 0; -1 for another mode, or when the middleware or the thread fails.
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

#endif
