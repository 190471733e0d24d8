// SPDX-License-Identifier: Apache-2.0
// Display module: display windows, screen capture, picture and panel settings.
#ifndef A_VEXTVFAPI_DISP_H
#define A_VEXTVFAPI_DISP_H

#include "fapi_core.h"

// --- Display windows -------------------------------------------------------------------------------------------------

// Brings up the display output and the driver layer; may be repeated. 0 or -1.
FAPI_API int a_vextvfapi_disp_init();

// Returns 0; releases nothing.
FAPI_API int a_vextvfapi_disp_deinit();

// Selects the current window, on which all operations on the display act: 0 and 1 are the high-definition windows, 2 is
// the standard-definition window. Returns 0 for every number: an invalid one is reported by the next operation that
// uses the window.
FAPI_API int a_vextvfapi_disp_switch_window(unsigned int index);

// --- Screen capture --------------------------------------------------------------------------------------------------
// Captures are BMP files of 32 bits a pixel, rows from the bottom. 0 or -1.
// Contract: a failed write is only logged; the file is short then, and the operation succeeds. After other failures
// what has been opened stays open: locks, surfaces, handles. A display window that a capture opens stays open after a
// success, too.

// Captures a picture.
// [in] path         the BMP file, a path of the set
// [in] captureType  0 the surface on graphics layer 0; 1 the current window's picture, 1920 x 1080; 2 the same with the
//                   graphics over it
FAPI_API int a_vextvfapi_disp_capture_screen_to_usb(const unsigned char* path, int captureType);

// --- Picture ---------------------------------------------------------------------------------------------------------
// These act on the current window, which is opened for the call when it is not open. Statuses, unless an operation says
// otherwise:
//  0  done
// -1  the window is not available; null
// or a status of a_vextvfapi_common_hw_err_msg

// Sets a picture parameter. `param` is 5, 12, 16, 18, 19, 20 or 21 (the chip's numbers), -1 for others; `value` is the
// chip's.
FAPI_API int a_vextvfapi_disp_set_picture_param(unsigned int param, int value);

// Sets the six values of the color temperature, in the chip's order and units.
FAPI_API int a_vextvfapi_disp_set_color_temperature(unsigned int a, unsigned int b, unsigned int c, unsigned int d,
                                                    unsigned int e, unsigned int f);

// Sets a parameter from a big-endian stream. -1 for other types and a length of 0.
// [in] type    27: the first byte of `data` switches the gamma correction; 23: one byte and seven signed 32-bit words,
//              whose meaning is the chip's
// [in] length  checked for 0 alone: for type 23 `data` must hold 29 bytes
FAPI_API int a_vextvfapi_disp_set_picture_param_struct(int type, int length, signed char* data);

// Sets the three gamma curves, 256 entries each, which are copied.
FAPI_API int a_vextvfapi_disp_set_gamma_curve(unsigned short* curve1, unsigned short* curve2, unsigned short* curve3);

// Reads the range of three picture-quality values. A window that it opens stays open. -1 when the chip refuses.
FAPI_API int a_vextvfapi_disp_get_pq_range(fapi_core::VexTvFApiDispHsyModelRange* out);

// Reads the version of a part of the picture-quality data of a window.
// [out] buf   `bufLen` bytes, which must be more than the text has: at most 32 characters, without NUL; else -1 and
//             nothing is written
// [in]  type  the chip's number of the part, 0 to 6
FAPI_API int a_vextvfapi_disp_get_pq_version(unsigned int bufLen, unsigned char* buf, fapi_core::VexTvFApiVideoWin win,
                                             fapi_core::VexTvFApiPqType type);

// Returns 0 and does nothing.
FAPI_API int a_vextvfapi_disp_update_pq_ini_files();

// --- Panel -----------------------------------------------------------------------------------------------------------
// These act on the display output, which is opened for the call when it is not open. Statuses as for the picture.

// Sets an attribute of the panel; -1 for other numbers.
// [in] unusedFirst  not used
// [in] attr         0, 1, 2, 3, 6, 9, 11: the chip's, value `a`; 5: spread spectrum, `a` enable, `b` span, `c` step; 7:
//                   the chip's, bytes `a` and `b`; 8: the chip's, byte `a` and 16-bit values `b`, `c`, `d`
FAPI_API int a_vextvfapi_disp_panel_set_attr(unsigned int unusedFirst, unsigned int attr, unsigned int a,
                                             unsigned int b, unsigned int c, unsigned int d);

// Reads an attribute of the panel. The two operations after it read one each and write zeros also when the display
// output is not available.
// [in]  attr  4 or 5. Contract: any other number writes nothing, returns 0, and leaves an output open that it has
//             opened
// [out] out   4: 8 bytes, the smallest and the largest PWM value; 5: 6 bytes, enable (a byte and one of padding), span
//             and step (16 bits each); zeros when the chip refuses
FAPI_API int a_vextvfapi_disp_panel_get_attr(unsigned int unusedFirst, int attr, unsigned int* unusedThird, void* out);
FAPI_API int a_vextvfapi_disp_get_lvds_ssc(unsigned char& enable, unsigned int& span, unsigned int& step);
FAPI_API int a_vextvfapi_disp_get_pwm_range(unsigned int& min, unsigned int& max);

// Reads the identity of the panel's timing controller; `out` is untouched after a failure. -1 for every failure. This
// operation and the next two leave an output open that they have opened.
FAPI_API int a_vextvfapi_disp_get_tcon_info(fapi_core::VexTvFApiDispTconInfo* out);

// Reads the identity of the external frame-rate converter. `out` is written whatever the chip answers.
FAPI_API int a_vextvfapi_disp_get_frc_device_info(fapi_core::VexTvFApiDispExtFrcDeviceInfo* out);

// Returns the connection status itself, 0 when the chip does not report it, 255 without the display output.
FAPI_API int a_vextvfapi_disp_get_frc_connect_status();

// Flashes the firmware of the panel's companion chip from a file of the set. It must be left to finish.
FAPI_API int a_vextvfapi_disp_upgrade_tarn_fw(const unsigned char* path);

// --- Timing and geometry ---------------------------------------------------------------------------------------------

// Sets the output timing of the panel; the window is muted meanwhile, and unmuted at the end, also when another client
// has muted it before.
// [in] timing  the chip's number, 0 to 46; one that the panel cannot show is only logged
//  0  done
// -1  another number; the window is not available
// or the status of the code with which the settings were applied
FAPI_API int a_vextvfapi_disp_set_output_timing(unsigned int timing);

// Sets what the panel shows without a source.
// [in] freeRunType  the chip's number
//  0  done
// -1  the display controller is not available
// or a status of a_vextvfapi_common_hw_err_msg
FAPI_API int a_vextvfapi_disp_set_freerun_control(int freeRunType);

// Sets the piece of the input picture that the current window shows, in pixels of that picture.
//  0  the window's input is known; contract: whatever the chip then answers
// -1  the window is not open, or the chip does not report what is connected
FAPI_API int a_vextvfapi_disp_set_over_scan(unsigned short x, unsigned short y, unsigned short width,
                                            unsigned short height);

// --- Driver layer ----------------------------------------------------------------------------------------------------
// 0 or -1.

// Sets the overscan of each side, in the drivers' units.
FAPI_API int a_vextvfapi_disp_set_overscan(int left, int right, int top, int bottom);

// Makes the drivers read their parameters again.
FAPI_API int a_vextvfapi_disp_nty_drv_reload_param();

// Sets a picture-quality value. `type` is 0 to 5; type and value are the drivers'.
FAPI_API int a_vextvfapi_disp_set_pq_value(int type, unsigned int value);

// --- Events ----------------------------------------------------------------------------------------------------------
// This module raises no event of its own; fapi_core.h describes the three operations.

FAPI_API int a_vextvfapi_disp_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);
FAPI_API int a_vextvfapi_disp_unreg_callback();
FAPI_API int a_vextvfapi_disp_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                        const fapi_core::VexTvFApiEventCommonObject& b,
                                        const fapi_core::VexTvFApiEventCommonObject& c,
                                        const fapi_core::VexTvFApiEventCommonObject& d);

// --- For the library's own modules -----------------------------------------------------------------------------------

// Obtain the handle of the current window, or of window `index`. Return true when it was opened here: the caller closes
// it with HW_DISP_Close. False when it was open, and after a failure.
// [in, out] handle  the caller sets it to 0 beforehand; it still is after a failure
FAPI_API bool _a_vextvfapi_disp_get_disp_handle(unsigned int* handle);
FAPI_API bool _a_vextvfapi_disp_get_disp_handle_by_win_idx(unsigned int* handle, unsigned int index);

// Finds what is connected to the window of an open display handle: the first video path, else the first external input.
// Returns false when the chip fails or an output is null.
// [in, out] videoHandle, extinHandle  the caller sets both to 0 beforehand; only that of what is connected is written
FAPI_API bool _a_vextvfapi_disp_get_on_screen_input(int dispHandle, int* videoHandle, int* extinHandle);

// Captures the surface on graphics layer `layerId`. Contract: pixels count as 4 bytes, the width modulo 65,536. 0 or
// -1.
FAPI_API int _a_vextvfapi_disp_capture_osd_to_usb(const unsigned char* path, int layerId);

// Captures the current window's picture, with the graphics over it when `flag` is 1. 0 or -1.
FAPI_API int _a_vextvfapi_disp_capture_video_to_usb(const unsigned char* path, unsigned char flag);

// Writes `height` rows of `pitch` bytes that begin at an address of this process. The header keeps 16 bits of width and
// height. 0, or 255 without an address or when the file cannot be opened, closed or synced.
FAPI_API unsigned char _a_vextvfapi_output_bmp_file(const unsigned char* path, unsigned long long virtualAddress,
                                                    unsigned int pitch, unsigned int width, unsigned int height);

#endif
