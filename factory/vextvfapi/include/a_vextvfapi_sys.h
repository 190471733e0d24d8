// SPDX-License-Identifier: Apache-2.0
// System module: start-up, boot environment variables, raw eMMC, files, watchdog, registers and other services of the
// chip, factory daemon.
#ifndef A_VEXTVFAPI_SYS_H
#define A_VEXTVFAPI_SYS_H

#include "fapi_core.h"
#include "hw3/hw_flash.h"

// --- Start-up --------------------------------------------------------------------------------------------------------

// Reads the debug switch and the factory-mode marker, then brings up the system, flash, file-system and watchdog
// middleware. It is the first call of all; a repeated call reads switch and marker again. A failed system ends it;
// after a failed flash or file system the watchdog is brought up all the same.
//  0  done
// -1  one of the four could not be brought up
FAPI_API int a_vextvfapi_sys_init();

// Does nothing. Returns 0.
FAPI_API int a_vextvfapi_sys_deinit();

// --- Events ----------------------------------------------------------------------------------------------------------
// This module raises no event of its own; fapi_core.h describes the three operations.

FAPI_API int a_vextvfapi_sys_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);
FAPI_API int a_vextvfapi_sys_unreg_callback();
FAPI_API int a_vextvfapi_sys_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                       const fapi_core::VexTvFApiEventCommonObject& b,
                                       const fapi_core::VexTvFApiEventCommonObject& c,
                                       const fapi_core::VexTvFApiEventCommonObject& d);

// --- Boot environment variables --------------------------------------------------------------------------------------

// Copies the value of a boot environment variable from eMMC. Needs a_vextvfapi_sys_init.
// [in]  key    the variable's name
// [out] value  `size` bytes. No terminating NUL is written: clear it first; a value of exactly `size` bytes fills it.
//  0  done
// -1  the flash refuses; no such variable; the flash could not be closed (the value has been copied then)
// -2  null; the value is longer than `size`
// -4  no memory for the environment image of 64 KiB
FAPI_API int a_vextvfapi_sys_get_emmc_env_var(const unsigned char* key, unsigned char* value, unsigned int size);

// Sets a boot environment variable in eMMC and reads it back to verify it. Callers serialize writes to the same flash.
// Needs a_vextvfapi_sys_init.
// [in] key    the variable's name
// [in] value  a text of at most 2,046 characters
//  0  done
// -1  the flash refuses; memory is short; the value read back differs (the flash holds whatever was stored)
// -2  null; the value is longer
FAPI_API int a_vextvfapi_sys_set_emmc_env_var(const unsigned char* key, const unsigned char* value);

// --- Files -----------------------------------------------------------------------------------------------------------
// These work from the moment the library is loaded, before a_vextvfapi_sys_init too. Statuses are 0 and -1; a null path
// is -1.

// Returns 0 when the file can be opened for reading.
FAPI_API int a_vextvfapi_sys_check_file(const unsigned char* path);

// Removes a file.
FAPI_API int a_vextvfapi_sys_remove_file(const unsigned char* path);

// Creates a folder (mode 0755), not its parents. Returns 0 also when something of that name exists.
FAPI_API int a_vextvfapi_sys_create_folder(const unsigned char* path);

// Returns 0 when the path exists, as a folder or as anything else.
FAPI_API int a_vextvfapi_sys_check_folder(const unsigned char* path);

// Creates an empty file (mode 0644), and its folder if that one level is missing.
// Contract: its last act is closing the process's descriptor 0, and its status is that of this close.
//  0  done
// -1  the file exists (it stays as it is) or cannot be created; or it was created and descriptor 0 was closed before
FAPI_API int a_vextvfapi_sys_create_file(const unsigned char* path);

// Copies a file (mode 0644), creating the folder of `dst` if that one level is missing.
// Contract: returns -1 always, after a complete copy too: the caller looks at the destination to learn of success.
// [in] src             the file to copy
// [in] dst             the copy; an existing one is overwritten
// [in] b_fail_if_exist true: an existing `dst` is kept
FAPI_API int a_vextvfapi_sys_copy_file(const unsigned char* src, const unsigned char* dst, bool b_fail_if_exist);

// Reads one line of a file. After a failed seek or close `buf` may have been written.
// [out] buf  `len` bytes: at most `len` - 1 characters, the newline included, and a NUL
// [in]  pos  where to begin, in bytes
FAPI_API int a_vextvfapi_sys_read_file_one_line(const unsigned char* path, unsigned char* buf, unsigned int len,
                                                unsigned long long pos);

// Reads a piece of a file.
// [out] buf      `len` bytes, at least 1
// [in]  pos      where to begin, in bytes
// [out] readLen  how many bytes `buf` received; 0 after a failed open or seek, untouched after an earlier failure
//  0  done; contract: also after an error while reading, with `readLen` 0
// -1  null; `len` 0; the file cannot be opened; a failed seek; nothing at `pos`; the file could not be closed (`buf`
//     and `readLen` hold what was read)
FAPI_API int a_vextvfapi_sys_read_file(const unsigned char* path, unsigned char* buf, unsigned int len,
                                       unsigned long long pos, unsigned int* readLen);

// Sums up all bytes of a file, one read for each. Contract: a read error ends the sum unnoticed.
// [out] checksum  the sum modulo 65,536
FAPI_API int a_vextvfapi_sys_get_file_checksum(const unsigned char* path, unsigned int* checksum);

// Writes a file, creating its folder if that one level is missing. Contract: a short write is not noticed.
// [in] data  `len` bytes, at least 1
// [in] mode  as fopen takes it: "wb", "ab", ...
FAPI_API int a_vextvfapi_sys_write_file(const unsigned char* path, const unsigned char* data, unsigned int len,
                                        const unsigned char* mode);

// Sets the permission bits of a file or folder, as chmod takes them.
FAPI_API int a_vextvfapi_sys_change_file_mode(const unsigned char* path, unsigned int mode);

// Flushes all file systems. Returns what the middleware's sync returns.
FAPI_API int a_vextvfapi_sys_sync_fs();

// --- Raw eMMC --------------------------------------------------------------------------------------------------------

// Transfer a piece of an eMMC partition. The middleware refuses what lies beyond the partition's end, and accepts a
// length of 0. They must be left to finish.
// [in]      partition  the partition's name
// [in]      shift      the first byte in the partition
// [in, out] data       `length` bytes; a failed read leaves them untouched
//  0  done
// -1  the flash is not available or refuses; it could not be closed (the transfer was made then)
// -2  null
// -4  no memory for a copy of the data
FAPI_API int a_vextvfapi_sys_write_emmc(unsigned char* partition, unsigned int shift, unsigned int length,
                                        unsigned char* data);
FAPI_API int a_vextvfapi_sys_read_emmc(unsigned char* partition, unsigned int shift, unsigned int length,
                                       unsigned char* data);

// --- Watchdog --------------------------------------------------------------------------------------------------------

// Starts the watchdog (`enable` not 0), which reboots the set five seconds after the last start, or stops it. A start
// also acknowledges that the watchdog was the reason of the last reboot.
//  0  done
// -1  the middleware refuses
FAPI_API int a_vextvfapi_sys_set_wdt(unsigned char enable);

// Returns 1 when the watchdog runs and this library was last asked to start it, whether or not the middleware accepted
// that; else 0, also when the middleware does not answer.
FAPI_API int a_vextvfapi_sys_get_wdt_status();

// --- Services of the chip --------------------------------------------------------------------------------------------

// Spreads the clock of a memory interface, or ends that. The two values are checked for an end, too.
// [in] miu       0 to 2
// [in] u16Freq   20 to 40, the chip's unit
// [in] u16Ratio  1 to 30, the chip's unit
//  0  done
// -1  the middleware refuses
// -2  an argument out of range
FAPI_API int a_vextvfapi_sys_set_miu_ssc(unsigned char miu, unsigned short u16Freq, unsigned short u16Ratio,
                                         bool bEnable);

// Flashes firmware from a file. It must be left to finish.
// [in] type    0, or 1 for the panel's controller
// [in] source  path of the file
//  0  done
// -1  the middleware refuses
// -2  null or another type
FAPI_API int a_vextvfapi_sys_upgrade_fw(unsigned char type, unsigned char* source);

// Read and write a register of the chip.
// [in]  bank, offset  the chip's numbers
// [out] value
//  0  done
// -1  null; the middleware refuses
FAPI_API int a_vextvfapi_sys_read_reg(unsigned int bank, unsigned int offset, unsigned int* value);
FAPI_API int a_vextvfapi_sys_write_reg(unsigned int bank, unsigned int offset, unsigned int value);

// Reads the real-time clock.
// [out] rtcTime  seconds
//  0  done, or null
// -1  the clock is not available
FAPI_API int a_vextvfapi_sys_get_rtc_time(unsigned int* rtcTime);

// Does nothing. Returns 0.
FAPI_API int a_vextvfapi_sys_update_panel(const char*, const char*, const char*);

// --- Factory daemon --------------------------------------------------------------------------------------------------

// Has the set's privileged factory daemon run a command, and waits for its answer: forever when the daemon neither
// answers nor hangs up. Any thread; the daemon takes one command after the other.
// [in] cmd    fapi_core::VexTvFApiSysFactorySvcCmd_e
// [in] param  a text of at most 254 characters
//  0  the daemon reports success, or hangs up without an answer
// -1  the daemon reports an error or does not run; `param` is too long
// -2  null or another command
FAPI_API int a_vextvfapi_sys_send_cmd_to_factory_svc(int cmd, const char* param);

// --- Attributes of the chip ------------------------------------------------------------------------------------------

// Reads the path of the file that names the set's configuration files.
// [out] path  `len` bytes, 128 or more, filled up with zeros. A path of 128 characters has no NUL in 128 bytes.
//  0  done
// -1  null; `len` below 128
// or the status of a_vextvfapi_common_hw_err_msg for the middleware's failure, with an empty path
FAPI_API int a_vextvfapi_sys_get_dataindex_path(unsigned char* path, unsigned int len);

// Reads the customer hash of the chip.
// [out] hash    `size` bytes, 16 or more
// [out] copied  how many bytes the hash has, 16 at most; 0 when the middleware fails
//  0  done
// -1  null; `size` below 16
// or the status of a_vextvfapi_common_hw_err_msg for the middleware's failure
FAPI_API int a_vextvfapi_sys_get_customer_hash(unsigned int size, unsigned char* hash, unsigned int* copied);

// --- For the library's own modules -----------------------------------------------------------------------------------

// Looks up the flash handle of a type, or opens it.
// [out] handle  0 after a failure
// [out] opened  1 when the handle was opened here: the caller closes it then
// Returns 0, or the middleware's code of the failed open.
FAPI_API int _a_vextvfapi_sys_get_flash_handle(int& handle, HW_FLASH_Type_e type, unsigned char& opened);

// Are the two environment operations for any flash type.
FAPI_API int _a_vextvfapi_sys_get_env_var(const unsigned char* key, unsigned char* value, unsigned int size,
                                          HW_FLASH_Type_e type);
FAPI_API int _a_vextvfapi_sys_set_env_var(const unsigned char* key, const unsigned char* value, HW_FLASH_Type_e type);

// Returns the factory daemon's number of a command, or -1.
FAPI_API int _a_vextvfapi_sys_convert_factory_cmd(int cmd);

// Obtains the watchdog's handle, which the library keeps. 0 or -1.
FAPI_API int _a_vextvfapi_sys_get_wdt_handle();

// Returns the memory interface of a number (0 to 2), or -1.
FAPI_API int _a_vextvfapi_sys_get_miu_type_by_idx(unsigned char index);

// Returns the middleware's firmware type: 0 and 1 as they are, 2 (invalid) for anything else.
FAPI_API int _a_vextvfapi_sys_convert_fw_type(unsigned char type);

#endif
