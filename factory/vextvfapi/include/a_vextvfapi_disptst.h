// SPDX-License-Identifier: Apache-2.0
// Display test module: OSD test canvas, video test patterns, burn-in.
#ifndef A_VEXTVFAPI_DISPTST_H
#define A_VEXTVFAPI_DISPTST_H

#include "fapi_core.h"

// --- OSD test canvas -------------------------------------------------------------------------------------------------
// One drawing surface of at most 1280 x 720 pixels on top of the picture. Its operations belong to one thread. Drawing
// changes the memory that is shown, and is possible before the canvas is shown. Coordinates are pixels from the top
// left corner and may be anything: pixels outside the canvas's memory are left out. Contract: coordinates beyond the
// end of a row continue in the next row; with a width that is not a multiple of 16 each row starts (padded width -
// width) pixels further right. 0 or -1 unless an operation says otherwise.

// Allocates memory for the canvas, larger sizes cut to 1280 x 720, and puts it on layer 1, which becomes hidden;
// without a layer 1 it makes a hidden layer 2, centered as if the whole size were shown. Changes nothing while the
// canvas is up. -1 when memory or layer is not available; the memory stays until the canvas is taken away.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_on(unsigned int width, unsigned int height);

// Takes the canvas away and frees its memory, also when the layer cannot be given back (-1). 0 when there is none.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_off();

// Shows or hides the canvas. -1 when it is not up.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_show();
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_hide();

// Makes the canvas, draws the top left piece of that size of a BMP file, and shows it. The size is not cut: a piece
// larger than the canvas is refused. A failure leaves the canvas as it is at that step.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp(const unsigned char* fileName, unsigned int width,
                                                             unsigned int height);

// Draws an opaque line. 0, also when there is no canvas.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_draw_line(fapi_core::VexTvFApiGOPPatternLine_t line);

// Draws a rectangle with its colors' own alpha. -1 when there is no canvas.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect(fapi_core::VexTvFApiGOPPatternRect_t rect);

// Draws a piece of a BMP file, opaque. -1 when there is no canvas; 0 whatever is wrong with the file.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap(fapi_core::VexTvFApiGOPPatternBitmap_t bitmap);

// Sets the color matrix of the canvas's layer, or of layer 0 when the module has obtained no layer. -1 when the layer
// is not available or refuses.
FAPI_API int a_vextvfapi_disptst_gop_pattern_set_attr(fapi_core::VexTvFApiGOPPatternAttr_t attr);

// --- Video test patterns and burn-in ---------------------------------------------------------------------------------

// Brings up system and graphics; may be repeated. 0 or -1.
FAPI_API int a_vextvfapi_disptst_init();

// Returns 0; releases nothing.
FAPI_API int a_vextvfapi_disptst_deinit();

// Starts (`on` not 0) or stops burn-in: a thread that fills the current display window with red, blue, green, black and
// white, 200 ms each. Returns when the thread runs or has stopped: after 100 ms at the earliest unless it is refused,
// after 12 s at the latest. The thread of a start that timed out stays: it may begin after a stop that has returned 0,
// and a stop after that ends it.
//  0  done; a stop also when nothing runs
// -1  it runs already, cannot start, or times out
// -4  no memory for the parameter
FAPI_API int a_vextvfapi_disptst_set_burning_mode(unsigned char on);

// Starts or stops burn-in with the caller's colors. Waits (interval + 10) seconds at the longest.
// [in] param  for a stop, too; colors are copied; with interval 0 they follow each other without a pause
//  0  done; a stop also when nothing runs
// -1  it runs already, cannot start, or times out
// -2  null `param` or table
// -4  no memory
FAPI_API int a_vextvfapi_disptst_set_burning_mode_adv(unsigned char on, fapi_core::_VexFApiDisptstBurnModeParam* param);

// Shows or hides graphics layer `osdLayerId` with its window. 0; -1 for an unknown layer or one without a window; or a
// status of a_vextvfapi_common_hw_err_msg.
FAPI_API int a_vextvfapi_disptst_set_osd_layer_on_off(int osdLayerId, unsigned char enable);

// Switches the picture-quality processing of the current display window on or off. 0; -1 when the window is not
// available; or a status of a_vextvfapi_common_hw_err_msg.
FAPI_API int a_vextvfapi_disptst_set_pq_on_off(unsigned char enable);

// Switches a test pattern on or off, of the video path or of the current display window.
// [in] patternMode  0 MVOP, 1 ADC, 2 IPMUX, 3 IP1, 4 line buffer, 5 scaler, 6 VOP, 7 VOP2 (which mutes the window while
//                   it is off), 8 output module (a full window of one color), 9 white balance, 10 the mute color, shown
//                   while it is on
// [in] pattern      `u32Param` is the chip's number; at most 7 for modes 0 and 1
//  0  done
// -1  the window is not available; another mode or parameter
// or a status of a_vextvfapi_common_hw_err_msg
FAPI_API int a_vextvfapi_disptst_gen_test_pattern(unsigned int patternMode, fapi_core::VexTvFApiDispTstPattern pattern);

// --- Events ----------------------------------------------------------------------------------------------------------
// This module raises no event of its own; fapi_core.h describes the three operations.

FAPI_API int a_vextvfapi_disptst_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);
FAPI_API int a_vextvfapi_disptst_unreg_callback();
FAPI_API int a_vextvfapi_disptst_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                           const fapi_core::VexTvFApiEventCommonObject& b,
                                           const fapi_core::VexTvFApiEventCommonObject& c,
                                           const fapi_core::VexTvFApiEventCommonObject& d);

// --- For the library's own modules -----------------------------------------------------------------------------------

// Returns 0 when something is connected to the window of an open display handle, else -1. `connect` is not used.
FAPI_API int _a_vextvfapi_disptst_connect_disp(int handle, unsigned char connect);

#endif
