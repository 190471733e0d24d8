// SPDX-License-Identifier: Apache-2.0
// Input source module: analog calibration, signal, tuner and timing status.
#ifndef A_VEXTVFAPI_INPSRC_H
#define A_VEXTVFAPI_INPSRC_H

#include "fapi_core.h"

// Operations of this module must not overlap. Statuses, unless an operation says otherwise:
//  0  done
// -1  null; an argument out of range; the input is not available; the middleware refuses

// --- Start-up --------------------------------------------------------------------------------------------------------

// Brings up external inputs and tuner, and reads how many inputs of each type there are. A failure does not end it.
FAPI_API int a_vextvfapi_inpsrc_init();

// Shuts the external inputs down; the tuner stays up.
FAPI_API int a_vextvfapi_inpsrc_deinit();

// --- Calibration of the analog inputs ------------------------------------------------------------------------------
// `devType` is 0 VGA, 1 YPbPr. An input that is not open is opened for the call. Phases, gains and offsets are in the
// chip's units and are not checked. -1 also when the input could not be closed; a record that was read is written then.

FAPI_API int a_vextvfapi_inpsrc_get_adc_phase(unsigned int devType, fapi_core::VexTvFApiAdcPhase_t* pPhase);
FAPI_API int a_vextvfapi_inpsrc_set_adc_phase(unsigned int devType, unsigned int rPhase, unsigned int gPhase,
                                              unsigned int bPhase);
FAPI_API int a_vextvfapi_inpsrc_get_adc_gain_offset(unsigned int devType,
                                                    fapi_core::VexTvFApiAdcGainOffset_t* pGainOffset);
FAPI_API int a_vextvfapi_inpsrc_set_adc_gain_offset(unsigned int devType, unsigned int rGain, unsigned int gGain,
                                                    unsigned int bGain, unsigned int rOffset, unsigned int gOffset,
                                                    unsigned int bOffset);

// Has the chip calibrate gain and offset from the present signal. `devType` may be 2 SCART, too.
FAPI_API int a_vextvfapi_inpsrc_auto_gain_offset(unsigned int devType);

// --- What is on screen -----------------------------------------------------------------------------------------------
// These ask the current display window. -1 when it is not available.

// Reads the source of the picture.
// [out] pSrc  0 VGA, 1 video decoder, 2-9 CVBS, 11-14 S-Video, 16-18 YPbPr, 20-21 SCART, 23-26 HDMI, 28 none of these
//             (nothing, or the digital path; also after a failure), 45 an input beyond these
FAPI_API int a_vextvfapi_inpsrc_get_current_input_source(unsigned char* pSrc);

// Reads the type of the source.
// [out] pSrc  0 HDMI, 1 YPbPr, 2 VGA, 3 CVBS, 4 S-Video, 5 SCART, 6 video decoder, 7 none of these (also after a
//             failure)
FAPI_API int a_vextvfapi_inpsrc_get_current_input_source_type(unsigned char* pSrc);

// Reads the timing of the picture.
// [out] timing  zeros when the chip does not answer
//  0  done
// -1  nothing is connected
// or a status of a_vextvfapi_common_hw_err_msg
FAPI_API int a_vextvfapi_inpsrc_get_input_timing(fapi_core::VexTvFApiVideoTiming& timing);

// Detects the television standard of an analog source.
// [out] pu8Val  the chip's number, 0 to 9; in case of -1: the standard that was detected last when the detection
//               failed; the low byte of the chip's answer, 10 or above, when it found none; else untouched
//  0  done
// -1  nothing analog is on screen; the detection failed or found no standard
// -2  null; an HDMI source
FAPI_API int a_vextvfapi_inpsrc_get_video_standard(unsigned char* pu8Val);

// --- Video decoder ---------------------------------------------------------------------------------------------------
// The decoder is opened when it is not open, and stays open.

// Reads the signal of the decoder. The middleware's results 1 and 2 count as success.
// [out] pu8LockStatus  0 none, 1 locked, 2 unknown; written also after a failure
FAPI_API int a_vextvfapi_inpsrc_check_vd_signal_locked(unsigned char* pu8LockStatus);

// Set and read a factory parameter of the decoder.
// [in]      eAtvVdType   the chip's number, 1 to 16
// [in, out] pu32VdParam  the chip's value; must be readable, because the old content is logged
FAPI_API int a_vextvfapi_inpsrc_set_factory_vd_para(unsigned int eAtvVdType, unsigned int u32VdParam);
FAPI_API int a_vextvfapi_inpsrc_get_factory_vd_para(unsigned int eAtvVdType, unsigned int* pu32VdParam);

// --- Tuner -----------------------------------------------------------------------------------------------------------

// Initializes the intermediate-frequency stage of tuner 0 again. The tuner stays open.
FAPI_API int a_vextvfapi_inpsrc_vif_init();

// Reads the identification texts of tuner 0's demodulator. Needs an open tuner.
// [out] pInfo  all four texts are emptied first; after a failure it holds those received
FAPI_API int a_vextvfapi_inpsrc_get_demod_info(fapi_core::VexTvFApiDemodInfoParam_t* pInfo);

// Reads the bit error rate of the first locked tuner, while the digital path or nothing is on screen.
FAPI_API int a_vextvfapi_inpsrc_get_ber(int* pBer);

// --- Events ----------------------------------------------------------------------------------------------------------
// This module raises no event of its own; fapi_core.h describes the three operations.

FAPI_API int a_vextvfapi_inpsrc_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);
FAPI_API int a_vextvfapi_inpsrc_unreg_callback();
FAPI_API int a_vextvfapi_inpsrc_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                          const fapi_core::VexTvFApiEventCommonObject& b,
                                          const fapi_core::VexTvFApiEventCommonObject& c,
                                          const fapi_core::VexTvFApiEventCommonObject& d);

// --- For the library's own modules -----------------------------------------------------------------------------------

// Obtain the module's handle of an analog input. Return 1 when it was opened here, else 0. Contract: 0 also when it
// is not available; the module then goes on with the handle that it had last.
FAPI_API int _a_vextvfapi_inpsrc_get_vga_handle();
FAPI_API int _a_vextvfapi_inpsrc_get_ypbpr_handle();

// Is a_vextvfapi_inpsrc_get_current_input_source_type when `bType` is not 0, else
// a_vextvfapi_inpsrc_get_current_input_source.
FAPI_API int _a_vextvfapi_inpsrc_get_current_input_source(unsigned char* pSrc, unsigned char bType);

// Finds the same numbers for the handle of an external input, which must be open in the middleware. Asks no window, and
// writes nothing after a failure. 0 or -1.
FAPI_API int _a_vextvfapi_inpsrc_get_src_by_extin_handle(int hExtin, unsigned char* pu8InputSource,
                                                         unsigned char bType);

// Are the operations of the same names.
FAPI_API int _a_vextvfapi_inpsrc_get_video_standard(unsigned char* pu8Val);
FAPI_API int _a_vextvfapi_inpsrc_check_vd_signal_locked(unsigned char* pu8LockStatus);

// Returns the middleware's number of a video-decoder factory parameter: 17 for all above 16.
FAPI_API unsigned int _a_vextvfapi_inpsrc_convert_to_HW_EXTIN_FactoryType_e(unsigned int type);

#endif
