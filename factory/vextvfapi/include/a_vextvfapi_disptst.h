// SPDX-License-Identifier: Apache-2.0
// Display test module: OSD test canvas, video test patterns, burn-in.
#ifndef A_VEXTVFAPI_DISPTST_H
#define A_VEXTVFAPI_DISPTST_H

#include "fapi_core.h"

// Registers `callback` for the events of this module, replacing an earlier one; null registers none. Returns 0.
FAPI_API int a_vextvfapi_disptst_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);

// Removes the callback; harmless when there is none. After it has returned, no call into the old callback starts any
// more. Returns 0.
FAPI_API int a_vextvfapi_disptst_unreg_callback();

// Delivers an event to the registered callback on the calling thread and returns the callback's result; -1 when no
// callback is registered or the callback throws.
FAPI_API int a_vextvfapi_disptst_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                           const fapi_core::VexTvFApiEventCommonObject& b,
                                           const fapi_core::VexTvFApiEventCommonObject& c,
                                           const fapi_core::VexTvFApiEventCommonObject& d);

// --- OSD test canvas -------------------------------------------------------------------------------------------------
// One drawing surface of at most 1280 x 720 pixels on top of the picture. The operations belong to one thread. Drawing
// goes straight into the memory that is shown, and is possible before the canvas is. Coordinates are pixels from the
// top left corner and may be anything: what falls outside the canvas's memory is left out, and coordinates beyond a row
// land where a pixel's address leads. With a width that is not a multiple of 16 every row is shifted right by what is
// missing to one. 0, or -1 unless told otherwise.

// Gets memory for the canvas, larger sizes cut to 1280 x 720, and puts it on layer 1, which becomes hidden; without one
// a hidden layer 2 is made, centred as if the whole size were shown. While the canvas is up nothing changes, whatever
// the size. -1 when memory or layer cannot be had; memory that was got stays until the canvas is taken away.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_on(unsigned int width, unsigned int height);

// Takes the canvas away and frees its memory, also when the layer cannot be given back (-1). 0 when there is none.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_off();

// Shows or hides the canvas. -1 when it is not up.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_show();
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_hide();

// The canvas with the top left piece of that size of a BMP file, shown. The size is not cut, so that a piece larger
// than the canvas is refused. After a failure the canvas stays as far as it has come.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp(const unsigned char* fileName, unsigned int width,
                                                             unsigned int height);

// Draws an opaque line. 0, also when there is no canvas.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_draw_line(fapi_core::VexTvFApiGOPPatternLine_t line);

// Draws a rectangle with its colors' own alpha. -1 when there is no canvas.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect(fapi_core::VexTvFApiGOPPatternRect_t rect);

// Draws a piece of a BMP file, opaque. -1 when there is no canvas; 0 whatever is wrong with the file.
FAPI_API int a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap(fapi_core::VexTvFApiGOPPatternBitmap_t bitmap);

// Sets the color matrix of the canvas's layer, or of layer 0 when the module has got hold of none. -1 when the layer
// cannot be had or refuses.
FAPI_API int a_vextvfapi_disptst_gop_pattern_set_attr(fapi_core::VexTvFApiGOPPatternAttr_t attr);

// --- Video test patterns and burn-in ---------------------------------------------------------------------------------

// Brings up system and graphics; may be repeated. 0 or -1.
FAPI_API int a_vextvfapi_disptst_init();

// Returns 0; releases nothing.
FAPI_API int a_vextvfapi_disptst_deinit();

// Burn-in: a thread that fills the current display window with one color after the other. Starts it (`on` not 0) with
// red, blue, green, black and white of 200 ms each, or stops it. Returns once the thread runs or has stopped: after 100
// ms at the earliest unless it is refused, after 12 s at the latest. 0; -1 when it runs already, cannot start, or does
// not answer in time; -4 without memory for the parameter. A stop when nothing runs is a success. The thread of a start
// that did not answer in time stays, and may begin after a stop that has answered 0; a stop after that ends it.
FAPI_API int a_vextvfapi_disptst_set_burning_mode(unsigned char on);

// The same with the caller's colors, which are copied; they are needed for a stop too. Waits (interval + 10) seconds at
// the longest. With interval 0 colors follow each other without pause. 0, -1 and -4 as above; -2 without `param` or its
// table.
FAPI_API int a_vextvfapi_disptst_set_burning_mode_adv(unsigned char on, fapi_core::_VexFApiDisptstBurnModeParam* param);

// Shows or hides graphics layer `osdLayerId` with its window. 0, -1 when there is no such layer or window, or the
// status of a middleware code.
FAPI_API int a_vextvfapi_disptst_set_osd_layer_on_off(int osdLayerId, unsigned char enable);

// Switches the picture-quality processing of the current display window on or off. 0, -1 without the window, or the
// status of a middleware code.
FAPI_API int a_vextvfapi_disptst_set_pq_on_off(unsigned char enable);

// A test pattern of the video path, or of the current display window: `patternMode` is 0 MVOP, 1 ADC (for both
// `pattern.u32Param` is at most 7), 2 IPMUX, 3 IP1, 4 line buffer, 5 scaler, 6 VOP, 7 VOP2 (which mutes the window
// while off), 8 output module (a full window of one color), 9 white balance, 10 the mute color, shown while enabled. 0,
// -1 without the window, or the status of a middleware code; that of "failed" for other modes and parameters.
FAPI_API int a_vextvfapi_disptst_gen_test_pattern(unsigned int patternMode, fapi_core::VexTvFApiDispTstPattern pattern);

// --- For the library's own modules -----------------------------------------------------------------------------------

// Whether something is connected to the window of an open display handle: 0 or -1. `connect` means nothing.
FAPI_API int _a_vextvfapi_disptst_connect_disp(int handle, unsigned char connect);

#endif
