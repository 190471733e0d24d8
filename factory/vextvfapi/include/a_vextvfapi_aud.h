// SPDX-License-Identifier: Apache-2.0
// Audio module: output paths, advanced sound processing, equaliser, levels and tables.
#ifndef A_VEXTVFAPI_AUD_H
#define A_VEXTVFAPI_AUD_H

#include "fapi_core.h"

// Operations of this module must not overlap. Every one that talks to the chip gets hold of all nine output paths
// first, opening those that nobody has open, and closes them after a success: those that it has opened, and also one
// that somebody else has opened if this module ever had opened that path itself. After a failure of the chip, or of an
// argument that is looked at only then, the paths stay open until the next success. Statuses are 0 and -1 unless an
// operation says otherwise; -1 also means an argument of null, that the main path cannot be had, for the volume of a
// path that this path cannot, or that a path could not be closed: what an operation stores has been stored then.

// --- Start-up --------------------------------------------------------------------------------------------------------

// Brings up audio core and outputs; may be repeated. Forgets the Dolby DAP parameters. 0 or -1.
FAPI_API int a_vextvfapi_aud_init();

// Shuts down the audio core, then the outputs unless that failed. Remembered handles stay remembered. 0 or -1.
FAPI_API int a_vextvfapi_aud_deinit();

// Gets hold of the output paths, which every operation does itself. Returns 0, also when paths cannot be had.
FAPI_API int a_vextvfapi_aud_open();

// Closes the open paths that this module has ever opened. 0, or -1 at the first that cannot be closed.
FAPI_API int a_vextvfapi_aud_close();

// --- Advanced sound --------------------------------------------------------------------------------------------------
// Effects are 0 none, 1 SRS TruSurround HD, 2 SRS Theater, 3 SRS Pure Sound, 4 DBX, 5 Dolby Volume, 6 Dolby DAP,
// 7 DTS Virtual:X. Arguments are passed by address and only read.

// Switches to the effect.
FAPI_API int a_vextvfapi_aud_adv_snd_enable(unsigned int* pType);

// Switches one sub-effect on (`pEnable` not 0) or off, and all others of the effect off. Effect 1 has sub-effects 0 to
// 4, 2 has 5 to 16, 3 has 0 to 3, 6 has 0 and 1, 7 has 0 to 6; for 4 the number 0 to 11 chooses a combination of its
// three modes, and `pEnable` means nothing. A sub-effect that there is not, also any of effects 0 and 5, changes
// nothing and is a success; -1 for effects above 7.
FAPI_API int a_vextvfapi_aud_adv_snd_enable_sub(unsigned int* pType, unsigned int* pSubIndex, unsigned char* pEnable);

// Sends the parameters of effect 4 (all its modes on) or 6 (what a_vextvfapi_aud_adv_snd_set_dolby_dap_param was
// given). -1 for all others.
FAPI_API int a_vextvfapi_aud_adv_snd_set_param(unsigned int* pType);

// Remembers the parameters, also when the chip refuses them, and sends them.
FAPI_API int a_vextvfapi_aud_adv_snd_set_dolby_dap_param(const fapi_core::VexTvFApiAdvSndDolbyDapParams_t* pParams);

// Lets DTS through untouched (1) or decodes it (0).
FAPI_API int a_vextvfapi_aud_dts_bypass(unsigned char* pBypass);

// Asks for attribute `attrType` of the main path, at most 0x1302 and not 255. `pInput` and `pOutput` are what the
// middleware wants for it; a `pOutput` of 1,604 bytes is enough for each, the first byte of `pInput` must be readable.
FAPI_API int a_vextvfapi_aud_get_attr(unsigned int attrType, void* pInput, void* pOutput);

// --- Basic sound -----------------------------------------------------------------------------------------------------
// Arguments are passed by address and only read. Values out of range are refused, not clamped.

// Prescale 1 to 255. Without the main path 0, unlike all others.
FAPI_API int a_vextvfapi_aud_adv_set_prescale(unsigned char* pEnable, unsigned short* pValue);

// Noise reduction with a threshold of 0 to 255, or none.
FAPI_API int a_vextvfapi_aud_adv_set_NR(unsigned char* pEnable, unsigned short* pThreshold);

// One value of band `pIndex` (0 to 4) of the parametric equaliser; everything else of all bands becomes 0.
FAPI_API int a_vextvfapi_aud_adv_set_peq_q_value(unsigned short* pIndex, unsigned short* pValue);
FAPI_API int a_vextvfapi_aud_adv_set_peq_freq_value(unsigned short* pIndex, unsigned short* pValue);
FAPI_API int a_vextvfapi_aud_adv_set_peq_gain_value(unsigned short* pIndex, unsigned short* pValue);

// All values of one band, gain 0 to 360, frequency 20 to 20,000 Hz, Q 5 to 160; the other bands become 0.
FAPI_API int a_vextvfapi_aud_adv_set_peq_value(unsigned short* pIndex, unsigned short* pGain, unsigned short* pFreq,
                                               unsigned short* pQ);

// Switches an effect on or off, with its parameters 0.
FAPI_API int a_vextvfapi_aud_adv_enable_basic_sound_effect(e_vextvfapi_aud_basic_snd_type type, unsigned char enable);

// Switches an effect on with what `pParam` has for it; -1 for null. The fields of AVC, surround, DRC, HPF and limiter
// are not used: these effects are switched on with parameters of 0.
FAPI_API int a_vextvfapi_aud_basic_snd_set_param(e_vextvfapi_aud_basic_snd_type type,
                                                 const fapi_core::VexTvFApiAudBasicSoundParam_t* pParam);

// --- Levels and tables -----------------------------------------------------------------------------------------------

// Delay of the main path, 0 to 250 ms.
FAPI_API int a_vextvfapi_aud_adv_set_speaker_delay(unsigned int* pDelay);
FAPI_API int a_vextvfapi_aud_adv_get_speaker_delay(unsigned int* pDelay);

// Volume of path `pPath` (0 to 8), 0 to 100 percent. Setting looks at the first byte of `pVolume` alone.
FAPI_API int a_vextvfapi_aud_adv_set_volume(unsigned int* pPath, unsigned int* pVolume);
FAPI_API int a_vextvfapi_aud_adv_get_volume(unsigned int* pPath, unsigned int* pVolume);

// Loads the volume table `pData` of the name `pName` for one path (1 to 8) or for all that there are (0). The chip
// knows how long its tables are; `length` is only logged. -2 for another path, or a null or empty name.
FAPI_API int a_vextvfapi_aud_set_volume_table(fapi_core::VexTvFApiAudioOutPathEnum path, unsigned short* pData,
                                              unsigned short length, const unsigned char* pName);

// Loads a file of audio-quality parameters. Also closes after a failure.
FAPI_API int a_vextvfapi_aud_load_aq_params(const unsigned char* pFileName);

// --- Events ----------------------------------------------------------------------------------------------------------

// Registers `callback` for the events of this module, replacing an earlier one; null registers none. Returns 0.
FAPI_API int a_vextvfapi_aud_reg_callback(fapi_core::VexTvFApiEventCallback_t callback);

// Removes the callback; harmless when there is none. After it has returned, no call into the old callback starts any
// more. Returns 0.
FAPI_API int a_vextvfapi_aud_unreg_callback();

// Delivers an event to the registered callback on the calling thread and returns the callback's result; -1 when no
// callback is registered or the callback throws.
FAPI_API int a_vextvfapi_aud_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                                       const fapi_core::VexTvFApiEventCommonObject& b,
                                       const fapi_core::VexTvFApiEventCommonObject& c,
                                       const fapi_core::VexTvFApiEventCommonObject& d);

#endif
