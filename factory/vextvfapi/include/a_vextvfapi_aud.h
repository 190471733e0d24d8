// SPDX-License-Identifier: Apache-2.0
// Audio module: output paths, advanced sound processing, equalizer, levels and tables.
#ifndef A_VEXTVFAPI_AUD_H
#define A_VEXTVFAPI_AUD_H

#include "fapi_core.h"

// Operations of this module must not overlap.
//
// Paths. Every operation that talks to the chip obtains all nine output paths first, and opens those that are not open.
// After a success it closes the paths that it has opened. Contract: it also closes a path of another client if this
// module has ever opened that path. After a failure of the chip, or of an argument that is checked after the paths, the
// paths stay open until the next success.
//
// Statuses, unless an operation says otherwise:
//  0  done
// -1  null; a value out of range; the main path (or the path that is named) is not available; the chip refuses; a path
//     could not be closed (the effect and the outputs are there then)

// --- Start-up --------------------------------------------------------------------------------------------------------

// Brings up audio core and outputs; may be repeated. Resets the Dolby DAP parameters.
FAPI_API int a_vextvfapi_aud_init();

// Shuts down the audio core, and then the outputs unless that failed. The module keeps its handles.
FAPI_API int a_vextvfapi_aud_deinit();

// Obtains the output paths, as every operation does. Returns 0, also when paths are not available.
FAPI_API int a_vextvfapi_aud_open();

// Closes the open paths that this module has ever opened. Ends at the first that cannot be closed.
FAPI_API int a_vextvfapi_aud_close();

// --- Advanced sound --------------------------------------------------------------------------------------------------
// Effects are 0 none, 1 SRS TruSurround HD, 2 SRS Theater, 3 SRS Pure Sound, 4 DBX, 5 Dolby Volume, 6 Dolby DAP,
// 7 DTS Virtual:X. All pointers are [in].

// Switches to an effect.
FAPI_API int a_vextvfapi_aud_adv_snd_enable(unsigned int* pType);

// Switches one sub-effect on (`pEnable` not 0) or off, and all others of the effect off. Effect 1 has sub-effects 0 to
// 4, 2 has 5 to 16, 3 has 0 to 3, 6 has 0 and 1, 7 has 0 to 6; for 4 the number 0 to 11 is a combination of its three
// modes, and `pEnable` is not used. Contract: an unknown sub-effect, and any of effects 0 and 5, changes nothing and is
// 0. -1 for effects above 7.
FAPI_API int a_vextvfapi_aud_adv_snd_enable_sub(unsigned int* pType, unsigned int* pSubIndex, unsigned char* pEnable);

// Sends the parameters of effect 4 (all its modes on) or 6 (those of a_vextvfapi_aud_adv_snd_set_dolby_dap_param). -1
// for all others.
FAPI_API int a_vextvfapi_aud_adv_snd_set_param(unsigned int* pType);

// Stores the parameters in the module, also when the chip then refuses them, and sends them.
FAPI_API int a_vextvfapi_aud_adv_snd_set_dolby_dap_param(const fapi_core::VexTvFApiAdvSndDolbyDapParams_t* pParams);

// Passes DTS through (1) or decodes it (0). Any other byte is the chip's to judge.
FAPI_API int a_vextvfapi_aud_dts_bypass(unsigned char* pBypass);

// Reads an attribute of the main path.
// [in]  attrType  the chip's number, at most 0x1302 and not 255
// [in]  pInput    what the chip wants for it; at least one byte
// [out] pOutput   1,604 bytes are enough for each attribute
FAPI_API int a_vextvfapi_aud_get_attr(unsigned int attrType, void* pInput, void* pOutput);

// --- Basic sound -----------------------------------------------------------------------------------------------------
// All pointers are [in]. Values out of range are refused, not clamped.

// Sets the prescale, 1 to 255. Contract: 0 also when the main path is not available.
FAPI_API int a_vextvfapi_aud_adv_set_prescale(unsigned char* pEnable, unsigned short* pValue);

// Sets noise reduction with a threshold of 0 to 255, or switches it off.
FAPI_API int a_vextvfapi_aud_adv_set_NR(unsigned char* pEnable, unsigned short* pThreshold);

// Set one value of band `pIndex` (0 to 4) of the parametric equalizer; all other values of all bands become 0.
FAPI_API int a_vextvfapi_aud_adv_set_peq_q_value(unsigned short* pIndex, unsigned short* pValue);
FAPI_API int a_vextvfapi_aud_adv_set_peq_freq_value(unsigned short* pIndex, unsigned short* pValue);
FAPI_API int a_vextvfapi_aud_adv_set_peq_gain_value(unsigned short* pIndex, unsigned short* pValue);

// Sets one band: gain 0 to 360, frequency 20 to 20,000 Hz, Q 5 to 160; the other bands become 0.
FAPI_API int a_vextvfapi_aud_adv_set_peq_value(unsigned short* pIndex, unsigned short* pGain, unsigned short* pFreq,
                                               unsigned short* pQ);

// Switches an effect on or off, with parameters of 0.
FAPI_API int a_vextvfapi_aud_adv_enable_basic_sound_effect(e_vextvfapi_aud_basic_snd_type type, unsigned char enable);

// Switches an effect on with its fields of `pParam`. The fields of AVC, surround, DRC, HPF and limiter are not used:
// these effects are switched on with parameters of 0.
FAPI_API int a_vextvfapi_aud_basic_snd_set_param(e_vextvfapi_aud_basic_snd_type type,
                                                 const fapi_core::VexTvFApiAudBasicSoundParam_t* pParam);

// --- Levels and tables -----------------------------------------------------------------------------------------------

// Set and read the delay of the main path, 0 to 250 ms.
FAPI_API int a_vextvfapi_aud_adv_set_speaker_delay(unsigned int* pDelay);
FAPI_API int a_vextvfapi_aud_adv_get_speaker_delay(unsigned int* pDelay);

// Set and read the volume of path `pPath` (0 to 8), 0 to 100 percent. Setting reads the first byte of `pVolume` alone.
FAPI_API int a_vextvfapi_aud_adv_set_volume(unsigned int* pPath, unsigned int* pVolume);
FAPI_API int a_vextvfapi_aud_adv_get_volume(unsigned int* pPath, unsigned int* pVolume);

// Loads a volume table for one path (1 to 8) or for all (0).
// [in] pData   the table; its length is the chip's
// [in] length  for the log
// [in] pName   the table's name, not empty
//  0  done
// -1  as above
// -2  another path; a null or empty name
FAPI_API int a_vextvfapi_aud_set_volume_table(fapi_core::VexTvFApiAudioOutPathEnum path, unsigned short* pData,
                                              unsigned short length, const unsigned char* pName);

// Loads a file of audio-quality parameters. Closes the paths after a failure, too.
FAPI_API int a_vextvfapi_aud_load_aq_params(const unsigned char* pFileName);

// --- Events ----------------------------------------------------------------------------------------------------------
// This module raises no event of its own; fapi_core.h describes the three operations.

FAPI_API int a_vextvfapi_aud_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);
FAPI_API int a_vextvfapi_aud_unreg_callback();
FAPI_API int a_vextvfapi_aud_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                       const fapi_core::VexTvFApiEventCommonObject& b,
                                       const fapi_core::VexTvFApiEventCommonObject& c,
                                       const fapi_core::VexTvFApiEventCommonObject& d);

#endif
