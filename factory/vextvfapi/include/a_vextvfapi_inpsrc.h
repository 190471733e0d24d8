// SPDX-License-Identifier: Apache-2.0
// Input source module: analogue calibration, signal, tuner and timing status.
#ifndef A_VEXTVFAPI_INPSRC_H
#define A_VEXTVFAPI_INPSRC_H

#include "fapi_core.h"

// Registers `callback` for the events of this module, replacing an earlier one; null registers none. Returns 0.
FAPI_API int a_vextvfapi_inpsrc_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);

// Removes the callback; harmless when there is none. After it has returned, no call into the old callback starts any
// more. Returns 0.
FAPI_API int a_vextvfapi_inpsrc_unreg_callback();

// Delivers an event to the registered callback on the calling thread and returns the callback's result; -1 when no
// callback is registered or the callback throws.
FAPI_API int a_vextvfapi_inpsrc_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                          const fapi_core::VexTvFApiEventCommonObject& b,
                                          const fapi_core::VexTvFApiEventCommonObject& c,
                                          const fapi_core::VexTvFApiEventCommonObject& d);

// Operations of this module must not overlap. 0 or -1 unless told otherwise; -1 for a null pointer, too.

// --- Start-up --------------------------------------------------------------------------------------------------------

// Brings up external inputs and tuner, and learns how many inputs of each type there are. All is tried whatever fails.
FAPI_API int a_vextvfapi_inpsrc_init();

// Shuts the external inputs down; the tuner stays.
FAPI_API int a_vextvfapi_inpsrc_deinit();

// --- Calibration of the analogue inputs ------------------------------------------------------------------------------
// `devType` is 0 VGA, 1 YPbPr. An input that nobody has open is opened for the call. Values are in the chip's units and
// not checked. -1 for other devices, a null record, and when the input cannot be had, refuses or cannot be closed; a
// record that was read is written also when only the close fails.

FAPI_API int a_vextvfapi_inpsrc_get_adc_phase(unsigned int devType, fapi_core::VexTvFApiAdcPhase_t* pPhase);
FAPI_API int a_vextvfapi_inpsrc_set_adc_phase(unsigned int devType, unsigned int rPhase, unsigned int gPhase,
                                              unsigned int bPhase);
FAPI_API int a_vextvfapi_inpsrc_get_adc_gain_offset(unsigned int devType,
                                                    fapi_core::VexTvFApiAdcGainOffset_t* pGainOffset);
FAPI_API int a_vextvfapi_inpsrc_set_adc_gain_offset(unsigned int devType, unsigned int rGain, unsigned int gGain,
                                                    unsigned int bGain, unsigned int rOffset, unsigned int gOffset,
                                                    unsigned int bOffset);

// Lets the chip calibrate gain and offset from the signal that is there. `devType` may be 2 SCART, too.
FAPI_API int a_vextvfapi_inpsrc_auto_gain_offset(unsigned int devType);

// --- What is on screen -----------------------------------------------------------------------------------------------
// These ask the current display window. -1 when it cannot be had or does not tell.

// The source of the picture: 0 VGA, 1 video decoder, 2-9 CVBS, 11-14 S-Video, 16-18 YPbPr, 20-21 SCART, 23-26 HDMI, 28
// none of these (nothing, or the digital path), 45 an input beyond these. 28 also after a failure.
FAPI_API int a_vextvfapi_inpsrc_get_current_input_source(unsigned char* pSrc);

// The same as type of the input: 0 HDMI, 1 YPbPr, 2 VGA, 3 CVBS, 4 S-Video, 5 SCART, 6 video decoder, 7 none of these.
FAPI_API int a_vextvfapi_inpsrc_get_current_input_source_type(unsigned char* pSrc);

// Timing of the picture; zeroes when the chip does not tell. 0, -1 with nothing connected, or the status of a
// middleware code.
FAPI_API int a_vextvfapi_inpsrc_get_input_timing(fapi_core::VexTvFApiVideoTiming& timing);

// The television standard of an analogue source, 0 to 9.
// 0; -1 when nothing analogue is on screen or the window cannot be had (nothing is written); -1 also when the detection
// fails (the standard that was detected last is written) or finds no standard (what the chip says is written, 10 or
// above, its low byte alone); -2 for null and for HDMI.
FAPI_API int a_vextvfapi_inpsrc_get_video_standard(unsigned char* pu8Val);

// --- Video decoder ---------------------------------------------------------------------------------------------------
// The decoder is opened when nobody has it open, and stays open.

// Signal of the decoder: 0 none, 1 locked, 2 unknown. Written whatever the chip says; its answers 1 and 2 count as
// success.
FAPI_API int a_vextvfapi_inpsrc_check_vd_signal_locked(unsigned char* pu8LockStatus);

// Factory parameter 1 to 16. The value that is to be overwritten must be readable.
FAPI_API int a_vextvfapi_inpsrc_set_factory_vd_para(unsigned int eAtvVdType, unsigned int u32VdParam);
FAPI_API int a_vextvfapi_inpsrc_get_factory_vd_para(unsigned int eAtvVdType, unsigned int* pu32VdParam);

// --- Tuner -----------------------------------------------------------------------------------------------------------

// Initialises the intermediate-frequency stage of tuner 0 anew. The tuner stays open.
FAPI_API int a_vextvfapi_inpsrc_vif_init();

// What the demodulator of tuner 0 tells of itself. All four texts are emptied first; after a failure those that were
// got are there. Needs an open tuner.
FAPI_API int a_vextvfapi_inpsrc_get_demod_info(fapi_core::VexTvFApiDemodInfoParam_t* pInfo);

// Bit error rate of the first locked tuner, while the digital path or nothing is on screen.
FAPI_API int a_vextvfapi_inpsrc_get_ber(int* pBer);

// --- For the library's own modules -----------------------------------------------------------------------------------

// Gets hold of the module's handle of an analogue input. 1 when it was opened here, else 0, also when it cannot be had:
// the module goes on with the handle that it had last.
FAPI_API int _a_vextvfapi_inpsrc_get_vga_handle();
FAPI_API int _a_vextvfapi_inpsrc_get_ypbpr_handle();

// a_vextvfapi_inpsrc_get_current_input_source_type when `bType` is not 0, else
// a_vextvfapi_inpsrc_get_current_input_source.
FAPI_API int _a_vextvfapi_inpsrc_get_current_input_source(unsigned char* pSrc, unsigned char bType);

// The same numbers for the handle of an external input; asks no window, and writes nothing after a failure. Only inputs
// that are open in the middleware are found. 0 or -1.
FAPI_API int _a_vextvfapi_inpsrc_get_src_by_extin_handle(int hExtin, unsigned char* pu8InputSource,
                                                         unsigned char bType);

// What the operations of the same names do.
FAPI_API int _a_vextvfapi_inpsrc_get_video_standard(unsigned char* pu8Val);
FAPI_API int _a_vextvfapi_inpsrc_check_vd_signal_locked(unsigned char* pu8LockStatus);

// The middleware's number of a video-decoder factory parameter: 17 for all above 16.
FAPI_API unsigned int _a_vextvfapi_inpsrc_convert_to_HW_EXTIN_FactoryType_e(unsigned int type);

#endif
