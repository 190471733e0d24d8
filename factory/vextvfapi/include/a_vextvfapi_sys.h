// SPDX-License-Identifier: Apache-2.0
// System module: start-up, boot environment variables, raw eMMC, file services, watchdog, registers and other services
// of the chip, factory daemon.
#ifndef A_VEXTVFAPI_SYS_H
#define A_VEXTVFAPI_SYS_H

#include "fapi_core.h"
#include "hw3/hw_flash.h"

// --- Start-up --------------------------------------------------------------------------------------------------------

// Reads the debug switch and the factory-mode marker, then brings up the system, flash, file-system and watchdog
// middleware. The library's first call; may be repeated, which reads switch and marker again.
// 0, or -1 when any of the four could not be brought up. A failed flash or file system does not keep the watchdog
// from being brought up; a failed system does.
FAPI_API int a_vextvfapi_sys_init();

// Does nothing. Returns 0.
FAPI_API int a_vextvfapi_sys_deinit();

// --- Events ----------------------------------------------------------------------------------------------------------

// Registers `callback` for the events of this module, replacing an earlier one; null registers none. Returns 0.
FAPI_API int a_vextvfapi_sys_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);

// Removes the callback; harmless when there is none. After it has returned, no call into the old callback starts any
// more. Returns 0.
FAPI_API int a_vextvfapi_sys_unreg_callback();

// Delivers an event to the registered callback on the calling thread and returns the callback's result; -1 when no
// callback is registered or the callback throws.
FAPI_API int a_vextvfapi_sys_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                       const fapi_core::VexTvFApiEventCommonObject& b,
                                       const fapi_core::VexTvFApiEventCommonObject& c,
                                       const fapi_core::VexTvFApiEventCommonObject& d);

// --- Boot environment variables --------------------------------------------------------------------------------------

// Copies the value of the boot environment variable `key`, kept in eMMC, to `value`, which holds `size` bytes.
// No terminating NUL is written: the caller clears `value` first, and a value of exactly `size` bytes fills it.
// 0; -1 when the flash refuses or the variable does not exist; -2 for null or when the value is longer than `size`;
// -4 without memory for the 64 KiB environment image. -1 also when the flash could not be closed; the value has then
// been copied all the same. Needs a_vextvfapi_sys_init.
FAPI_API int a_vextvfapi_sys_get_emmc_env_var(const unsigned char* key, unsigned char* value, unsigned int size);

// Sets the boot environment variable `key` in eMMC to the text `value`, then reads it back to verify it.
// 0; -1 when the flash refuses, memory is short or the value read back differs (the flash then holds whatever was
// stored); -2 for null or a value of 2,047 characters and more. Needs a_vextvfapi_sys_init.
// Callers serialise writes to the same flash.
FAPI_API int a_vextvfapi_sys_set_emmc_env_var(const unsigned char* key, const unsigned char* value);

// --- Files -----------------------------------------------------------------------------------------------------------
// These work from the moment the library is loaded, even before a_vextvfapi_sys_init.

// 0 when `path` can be opened for reading, else -1.
FAPI_API int a_vextvfapi_sys_check_file(const unsigned char* path);

// Removes the file `path`. 0 or -1.
FAPI_API int a_vextvfapi_sys_remove_file(const unsigned char* path);

// Creates the folder `path` (mode 0755), not its parents. 0 also when something of that name exists; else -1.
FAPI_API int a_vextvfapi_sys_create_folder(const unsigned char* path);

// 0 when `path` exists, as a folder or as anything else; -1 when it does not, or is null or empty.
FAPI_API int a_vextvfapi_sys_check_folder(const unsigned char* path);

// Creates the empty file `path` (mode 0644), and its folder if that one level is missing.
// 0; -1 when the file exists (it stays as it is) or cannot be created.
// Its last act is closing the process's descriptor 0, and its status is that of this close: -1 although the file was
// created when descriptor 0 was closed before.
FAPI_API int a_vextvfapi_sys_create_file(const unsigned char* path);

// Copies the file `src` to `dst` (mode 0644), creating the folder of `dst` if that one level is missing. An existing
// `dst` is overwritten, or kept when `b_fail_if_exist` is true.
// Returns -1 ALWAYS, after a complete copy too: the caller looks at the destination to learn of success.
FAPI_API int a_vextvfapi_sys_copy_file(const unsigned char* src, const unsigned char* dst, bool b_fail_if_exist);

// Reads one line of the file `path` from byte `pos` on into `buf`, which holds `len` bytes: at most `len` - 1
// characters, the newline included, and a NUL. 0 or -1; `buf` may have been written even when the result is -1
// because of a failed seek or close.
FAPI_API int a_vextvfapi_sys_read_file_one_line(const unsigned char* path, unsigned char* buf, unsigned int len,
                                                unsigned long long pos);

// Reads up to `len` bytes of the file `path` from byte `pos` on into `buf` and their number into `readLen`.
// 0; -1 for null, `len` 0, a file that cannot be opened, a failed seek, when nothing was read (at or past the end), and
// when the file could not be closed. An error while reading is reported as 0 with `readLen` 0.
// `readLen` stays untouched while arguments and file are checked; it is 0 after a failed open or seek, and tells what
// is in `buf` after a failed close.
FAPI_API int a_vextvfapi_sys_read_file(const unsigned char* path, unsigned char* buf, unsigned int len,
                                       unsigned long long pos, unsigned int* readLen);

// Sum of all bytes of the file `path`, modulo 65,536, into `checksum`. 0 or -1; a read error ends the sum unnoticed.
// Reads the file byte by byte.
FAPI_API int a_vextvfapi_sys_get_file_checksum(const unsigned char* path, unsigned int* checksum);

// Writes `len` bytes (at least 1) to the file `path`, opened with the stdio mode text `mode` ("wb", "ab", ...),
// creating its folder if that one level is missing. 0 or -1; a short write is not noticed.
FAPI_API int a_vextvfapi_sys_write_file(const unsigned char* path, const unsigned char* data, unsigned int len,
                                        const unsigned char* mode);

// Sets the permission bits of `path`, as chmod takes them. 0 or -1.
FAPI_API int a_vextvfapi_sys_change_file_mode(const unsigned char* path, unsigned int mode);

// Flushes all file systems. Returns what the middleware's sync returns: 0, or -1.
FAPI_API int a_vextvfapi_sys_sync_fs();

// --- Raw eMMC --------------------------------------------------------------------------------------------------------

// Writes the `length` bytes of `data` to, or reads them from, the eMMC partition of the name `partition`, from byte
// `shift` on. What lies beyond the end of the partition is refused by the middleware; a length of 0 is not.
// 0; -1 when the flash cannot be had or refuses, with `data` untouched by a failed read, and when it cannot be closed
// after a transfer that was made; -2 for null; -4 when there is no memory for a copy of the data.
FAPI_API int a_vextvfapi_sys_write_emmc(unsigned char* partition, unsigned int shift, unsigned int length,
                                        unsigned char* data);
FAPI_API int a_vextvfapi_sys_read_emmc(unsigned char* partition, unsigned int shift, unsigned int length,
                                       unsigned char* data);

// --- Watchdog --------------------------------------------------------------------------------------------------------

// Starts the watchdog, which reboots the set five seconds after the last start (`enable` not 0), or stops it. A start
// also acknowledges that the watchdog was the reason of the last reboot. 0, or -1 when the middleware refuses.
FAPI_API int a_vextvfapi_sys_set_wdt(unsigned char enable);

// 1 when the watchdog runs and this library has not been told to stop it since it was told to start it, also when the
// middleware refused that; else 0, also when it cannot be asked.
FAPI_API int a_vextvfapi_sys_get_wdt_status();

// --- Services of the chip --------------------------------------------------------------------------------------------

// Spreads the clock of memory interface `miu` (0 to 2), or ends that. `u16Freq` is 20 to 40, `u16Ratio` 1 to 30, in the
// chip's units, also for an end. 0; -1 when the middleware refuses; -2 for an argument out of range.
FAPI_API int a_vextvfapi_sys_set_miu_ssc(unsigned char miu, unsigned short u16Freq, unsigned short u16Ratio,
                                         bool bEnable);

// Flashes firmware `type` (0, or 1 for the panel's controller) from the file `source`. 0; -1 when the middleware
// refuses; -2 for null or another type.
FAPI_API int a_vextvfapi_sys_upgrade_fw(unsigned char type, unsigned char* source);

// Reads register `offset` of bank `bank` into `value`, or writes it. 0; -1 when the middleware refuses, or for null.
FAPI_API int a_vextvfapi_sys_read_reg(unsigned int bank, unsigned int offset, unsigned int* value);
FAPI_API int a_vextvfapi_sys_write_reg(unsigned int bank, unsigned int offset, unsigned int value);

// Stores the seconds of the real-time clock. 0, also for null; -1 when the clock cannot be had or read.
FAPI_API int a_vextvfapi_sys_get_rtc_time(unsigned int* rtcTime);

// Does nothing; hosts of other chips update panels with it. Returns 0.
FAPI_API int a_vextvfapi_sys_update_panel(const char*, const char*, const char*);

// --- Factory daemon --------------------------------------------------------------------------------------------------

// Has the set's privileged factory daemon run command `cmd` (fapi_core::VexTvFApiSysFactorySvcCmd_e) with the text
// `param`, at most 254 characters, and waits for its answer: for ever when the daemon neither answers nor hangs up.
// 0 when it reports success, or hangs up without an answer; -1 when it reports an error or is not there, or when
// `param` is too long; -2 for null or another command. Any thread; the daemon takes one command after the other.
FAPI_API int a_vextvfapi_sys_send_cmd_to_factory_svc(int cmd, const char* param);

// --- Attributes of the chip ------------------------------------------------------------------------------------------

// Stores the path of the file that names the set's configuration files in `path`, which holds `len` bytes (128 or
// more); the rest is zeros. A path of 128 characters has no terminator in a buffer of 128. 0; -1 for null or a `len`
// below 128; else the status that a_vextvfapi_common_hw_err_msg has for the middleware's failure, with an empty path.
FAPI_API int a_vextvfapi_sys_get_dataindex_path(unsigned char* path, unsigned int len);

// Stores the customer hash of the chip in `hash`, which holds `size` bytes (16 or more), and how many bytes it has in
// `copied`: 16 at most. Results as above; `copied` is 0 when the middleware fails.
FAPI_API int a_vextvfapi_sys_get_customer_hash(unsigned int size, unsigned char* hash, unsigned int* copied);

// --- For the library's own modules -----------------------------------------------------------------------------------

// Looks up the flash handle of `type`, or opens it. `handle` is 0 and `opened` 0 before; `opened` becomes 1 when the
// handle was opened here, and the caller then closes it. 0, or the middleware's code of the failed open.
FAPI_API int _a_vextvfapi_sys_get_flash_handle(int& handle, HW_FLASH_Type_e type, unsigned char& opened);

// The two environment operations for any flash type.
FAPI_API int _a_vextvfapi_sys_get_env_var(const unsigned char* key, unsigned char* value, unsigned int size,
                                          HW_FLASH_Type_e type);
FAPI_API int _a_vextvfapi_sys_set_env_var(const unsigned char* key, const unsigned char* value, HW_FLASH_Type_e type);

// The factory daemon's number of command `cmd`, or -1.
FAPI_API int _a_vextvfapi_sys_convert_factory_cmd(int cmd);

// Fetches the watchdog's handle, which is kept. 0 or -1.
FAPI_API int _a_vextvfapi_sys_get_wdt_handle();

// The memory interface of that number (0 to 2), or -1.
FAPI_API int _a_vextvfapi_sys_get_miu_type_by_idx(unsigned char index);

// The middleware's firmware type: 0 and 1 as they are, 2 (invalid) for anything else.
FAPI_API int _a_vextvfapi_sys_convert_fw_type(unsigned char type);

#endif
