// SPDX-License-Identifier: Apache-2.0
// Display module: display windows, screen capture, picture and panel settings.
#ifndef A_VEXTVFAPI_DISP_H
#define A_VEXTVFAPI_DISP_H

#include "fapi_core.h"

// Registers `callback` for the events of this module, replacing an earlier one; null registers none. Returns 0.
FAPI_API int a_vextvfapi_disp_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);

// Removes the callback; harmless when there is none. After it has returned, no call into the old callback starts any
// more. Returns 0.
FAPI_API int a_vextvfapi_disp_unreg_callback();

// Delivers an event to the registered callback on the calling thread and returns the callback's result; -1 when no
// callback is registered or the callback throws.
FAPI_API int a_vextvfapi_disp_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                        const fapi_core::VexTvFApiEventCommonObject& b,
                                        const fapi_core::VexTvFApiEventCommonObject& c,
                                        const fapi_core::VexTvFApiEventCommonObject& d);

// --- Display windows -------------------------------------------------------------------------------------------------

// Brings up the display output and the driver layer; may be repeated. 0 or -1.
FAPI_API int a_vextvfapi_disp_init();

// Returns 0; releases nothing.
FAPI_API int a_vextvfapi_disp_deinit();

// Makes a window the current one, which all operations on the display act on: 0 and 1 are the high-definition
// windows, 2 is the standard-definition window. Returns 0 for every number; one that there is not is found out by the
// next operation that wants the window.
FAPI_API int a_vextvfapi_disp_switch_window(unsigned int index);

// --- Screen capture --------------------------------------------------------------------------------------------------
// Into a BMP file of 32 bits a pixel, rows from the bottom. A failed write is only logged: the file is short, and the
// operation succeeds. After other failures what was opened until then stays open: locks, surfaces, handles;
// a display window that a capture has opened stays open after a success, too. 0 or -1.

// `captureType` 0 captures the surface on graphics layer 0, 1 the current window's picture (1920 x 1080), 2 the same
// with the graphics over it. `path` is a path of the set.
FAPI_API int a_vextvfapi_disp_capture_screen_to_usb(const unsigned char* path, int captureType);

// --- Picture ---------------------------------------------------------------------------------------------------------
// Of the current window, which is opened for the call when nobody has it open. 0, -1 without the window, or the status
// of a middleware code.

// Parameter 5, 12, 16, 18, 19, 20 or 21; -1 for others. Values are the chip's.
FAPI_API int a_vextvfapi_disp_set_picture_param(unsigned int param, int value);

// The six values of the color temperature, in the chip's order.
FAPI_API int a_vextvfapi_disp_set_color_temperature(unsigned int a, unsigned int b, unsigned int c, unsigned int d,
                                                    unsigned int e, unsigned int f);

// A parameter from a big-endian stream. Type 27 switches the gamma correction with the first byte; type 23 is one byte
// and seven signed 32-bit words: `data` must hold these 29 bytes whatever `length` says. -1 for other types, a length
// of 0 and null.
FAPI_API int a_vextvfapi_disp_set_picture_param_struct(int type, int length, signed char* data);

// The three gamma curves, 256 entries each, which are copied. -1 when one is null.
FAPI_API int a_vextvfapi_disp_set_gamma_curve(unsigned short* curve1, unsigned short* curve2, unsigned short* curve3);

// Range of three picture-quality values. A window that was opened for it stays open. -1 when the chip refuses, and for
// null.
FAPI_API int a_vextvfapi_disp_get_pq_range(fapi_core::VexTvFApiDispHsyModelRange* out);

// Version of a part of the picture-quality data of a window: at most 32 characters, without NUL. -1, with nothing
// written, when `bufLen` is not larger than their number or `buf` is null.
FAPI_API int a_vextvfapi_disp_get_pq_version(unsigned int bufLen, unsigned char* buf, fapi_core::VexTvFApiVideoWin win,
                                             fapi_core::VexTvFApiPqType type);

// Returns 0 and does nothing.
FAPI_API int a_vextvfapi_disp_update_pq_ini_files();

// --- Panel -----------------------------------------------------------------------------------------------------------
// Of the display output, which is opened for the call when nobody has it open. 0, -1 without it, or the status of a
// middleware code.

// Attributes 0, 1, 2, 3, 6, 9 and 11 take `a`; 5 (spread spectrum) takes enable, span and step; 7 takes two bytes; 8
// takes a byte and three 16-bit values. -1 for others. `unusedFirst` means nothing.
FAPI_API int a_vextvfapi_disp_panel_set_attr(unsigned int unusedFirst, unsigned int attr, unsigned int a,
                                             unsigned int b, unsigned int c, unsigned int d);

// Attribute 4 writes 8 bytes to `out`: the smallest and the largest PWM value; 5 writes 6: enable (one byte and one of
// padding), span and step (16 bits each). Zeroes when the chip refuses. All others write nothing and return 0, and
// leave an output that was opened here open. -1 for null. The arguments named unused mean nothing. The two operations
// below write zeroes without the display output, too.
FAPI_API int a_vextvfapi_disp_panel_get_attr(unsigned int unusedFirst, int attr, unsigned int* unusedThird, void* out);
FAPI_API int a_vextvfapi_disp_get_lvds_ssc(unsigned char& enable, unsigned int& span, unsigned int& step);
FAPI_API int a_vextvfapi_disp_get_pwm_range(unsigned int& min, unsigned int& max);

// -1 for null. This and the next three leave an output that was opened here open. The record of the frame-rate
// converter is written whatever the chip says; that of the timing controller is not, and the status is -1.
FAPI_API int a_vextvfapi_disp_get_tcon_info(fapi_core::VexTvFApiDispTconInfo* out);
FAPI_API int a_vextvfapi_disp_get_frc_device_info(fapi_core::VexTvFApiDispExtFrcDeviceInfo* out);

// Returns the connection status itself, 0 when the chip does not tell, 255 without the display output.
FAPI_API int a_vextvfapi_disp_get_frc_connect_status();

// Flashes the firmware of the panel's companion chip from a file of the set.
FAPI_API int a_vextvfapi_disp_upgrade_tarn_fw(const unsigned char* path);

// --- Timing and geometry ---------------------------------------------------------------------------------------------

// Output timing 0 to 46 of the panel; the window is muted meanwhile. It is unmuted at the end, also when somebody else
// has muted it before. A timing that the panel cannot show is only logged. 0,
// -1 for other numbers and without the window, or the status of the code with which settings were applied.
FAPI_API int a_vextvfapi_disp_set_output_timing(unsigned int timing);

// What the panel shows without a source. 0, -1 without the display controller, or the status of a middleware code.
FAPI_API int a_vextvfapi_disp_set_freerun_control(int freeRunType);

// The piece of the input picture that the current window shows, in pixels of that picture. -1 when nobody has the
// window open or the chip does not tell what is connected; 0 from then on whatever it says.
FAPI_API int a_vextvfapi_disp_set_over_scan(unsigned short x, unsigned short y, unsigned short width,
                                            unsigned short height);

// --- Driver layer ----------------------------------------------------------------------------------------------------
// 0 or -1.

// Overscan of each side, in the drivers' units.
FAPI_API int a_vextvfapi_disp_set_overscan(int left, int right, int top, int bottom);

// Makes the drivers read their parameters anew.
FAPI_API int a_vextvfapi_disp_nty_drv_reload_param();

// Picture-quality value 0 to 5.
FAPI_API int a_vextvfapi_disp_set_pq_value(int type, unsigned int value);

// --- For the library's own modules -----------------------------------------------------------------------------------

// The handle of the current window, or of window `index`. True when it was opened here: the caller closes it with
// HW_DISP_Close. False when somebody else has it open, and also after a failure: the caller sets `*handle` to 0
// beforehand and looks whether it still is.
FAPI_API bool _a_vextvfapi_disp_get_disp_handle(unsigned int* handle);
FAPI_API bool _a_vextvfapi_disp_get_disp_handle_by_win_idx(unsigned int* handle, unsigned int index);

// What is connected to the window of an open display handle: the first video path, else the first external input. Only
// the output of what was found is written, so the caller sets both to 0 beforehand; true with neither written when
// nothing is connected. False when the chip fails or an output is null.
FAPI_API bool _a_vextvfapi_disp_get_on_screen_input(int dispHandle, int* videoHandle, int* extinHandle);

// Captures the surface on graphics layer `layerId`. Its pixels are taken as 4 bytes, its width modulo 65,536.
FAPI_API int _a_vextvfapi_disp_capture_osd_to_usb(const unsigned char* path, int layerId);

// Captures the current window's picture, with the graphics over it when `flag` is 1.
FAPI_API int _a_vextvfapi_disp_capture_video_to_usb(const unsigned char* path, unsigned char flag);

// Writes `height` rows of `pitch` bytes that begin at an address of this process. The header keeps 16 bits of width and
// height. 0, or 255 without an address or when the file cannot be opened, closed or synced.
FAPI_API unsigned char _a_vextvfapi_output_bmp_file(const unsigned char* path, unsigned long long virtualAddress,
                                                    unsigned int pitch, unsigned int width, unsigned int height);

#endif
