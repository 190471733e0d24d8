// SPDX-License-Identifier: Apache-2.0
// Basic sound effects, equalizers among them.
#define FAPI_LOG_TAG "VexTvFApiAudio"
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <tuple>

#include "a_vextvfapi_aud_internal.h"
#include "base/fapi_log.h"

namespace {

struct EffectNames {
    const char* pszLong;
    const char* pszShort;
};

// Names of the effects, by number.
constexpr EffectNames kNames[] = {
    {"Prescale", "PRESCALE"},
    {"EQ(Equalizer)", "EQ"},
    {"PEQ(Parameter Equalizer)", "PEQ"},
    {"TREBLE(Treble)", "TREBLE"},
    {"BASS", "BASS"},
    {"AVC(Auto Volume Control)", "AVC"},
    {"SURROUND", "SURROUND"},
    {"BALANCE", "BALANCE"},
    {"DRC(Dynamic Range Control)", "DRC"},
    {"ECHO(for KTV used)", "ECHO"},
    {"NR(Noise Reduction)", "NR"},
    {"HPF(High Pass Filter)", "HPF"},
    {"LIMITER(Volume Limiter)", "LIMITER"},
};
constexpr unsigned int kEffectCount = sizeof(kNames) / sizeof(kNames[0]);

struct Range {
    unsigned short u16Min;
    unsigned short u16Max;

    bool holds(unsigned short u16Value) const { return u16Value >= u16Min && u16Value <= u16Max; }
};
constexpr Range kPrescale = {1, 255};
constexpr Range kThreshold = {0, 255};
constexpr Range kGain = {0, 360};
constexpr Range kFrequency = {20, 20000};
constexpr Range kQ = {5, 160};

}  // namespace

static HW_AOUT_BasicSound_t newRecord(HW_U32 u32Type, HW_U8 u8Enable, HW_U16 u16Value) {
    HW_AOUT_BasicSound_t stSound = {};
    stSound.u32Type = u32Type;
    stSound.u8Enable = u8Enable;
    stSound.u16Value = u16Value;
    return stSound;
}

// Makes a record with all bands at 0: the chip keeps no value of an earlier call.
static HW_AOUT_BasicSound_t newPeqRecord() {
    return newRecord(E_HW_AOUT_BASIC_SND_PEQ, 1, HW_AOUT_PEQ_BANDS);
}

static int sendRecord(HW_Handle_t hAout, const HW_AOUT_BasicSound_t& stSound,
                      const char* pszCaller = __builtin_FUNCTION()) {
    return fapi::aud::send(hAout, E_HW_AOUT_ATTR_BASIC_SOUND, &stSound, pszCaller);
}

// Sends an effect, with a failure logged in red.
static int sendRecordOrRed(HW_Handle_t hAout, const HW_AOUT_BasicSound_t& stSound,
                           const char* pszCaller = __builtin_FUNCTION()) {
    if (HW_AOUT_SetAttr(hAout, E_HW_AOUT_ATTR_BASIC_SOUND, &stSound) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "\033[31mHW_AOUT_SetAttr() failed!\033[m\n\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "HW_AOUT_SetAttr() OK!\n\n");
    return fapi::aud::finish(pszCaller);
}

// --- Single effects --------------------------------------------------------------------------------------------------

int a_vextvfapi_aud_adv_set_prescale(unsigned char* pEnable, unsigned short* pValue) {
    const HW_Handle_t hAout = fapi::aud::openMainPath();
    if (hAout == HW_HANDLE_NONE) {
        // Contract: a missing handle is no failure here.
        return 0;
    }
    if (pEnable == nullptr || pValue == nullptr) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    if (!kPrescale.holds(*pValue)) {
        FAPI_LOGE("Error! prescale should be %d~%d!\n", kPrescale.u16Min, kPrescale.u16Max);
        return -1;
    }
    FAPI_LOGI("Set prescale value: %d,\n\n", *pValue);
    return sendRecord(hAout, newRecord(E_HW_AOUT_BASIC_SND_PRESCALE, *pEnable, *pValue));
}

int a_vextvfapi_aud_adv_set_NR(unsigned char* pEnable, unsigned short* pThreshold) {
    a_vextvfapi_aud_open();
    const HW_Handle_t hAout = fapi::aud::pathHandle(fapi::aud::kMainPath);
    if (hAout == HW_HANDLE_NONE) {
        FAPI_LOGE("AOUT handle is not ready.\n");
        return -1;
    }
    if (pEnable == nullptr || pThreshold == nullptr) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    if (!kThreshold.holds(*pThreshold)) {
        FAPI_LOGE("Error! NR threshold should be %d~%d!\n", kThreshold.u16Min, kThreshold.u16Max);
        return -1;
    }
    FAPI_LOGI("Set NR threshold value: %d \n\n", *pThreshold);
    return sendRecord(hAout, newRecord(E_HW_AOUT_BASIC_SND_NR, *pEnable, *pThreshold));
}

int a_vextvfapi_aud_adv_enable_basic_sound_effect(e_vextvfapi_aud_basic_snd_type type, unsigned char enable) {
    a_vextvfapi_aud_open();
    const HW_Handle_t hAout = fapi::aud::pathHandle(fapi::aud::kMainPath);
    if (hAout == HW_HANDLE_NONE) {
        FAPI_LOGE("AOUT handle is not ready.\n");
        return -1;
    }
    if (type >= kEffectCount) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    FAPI_LOGI("Enable Sound Effect: %s \n\n", kNames[type].pszLong);
    return sendRecordOrRed(hAout, newRecord(type, enable, 0));
}

// --- One band of the parametric equaliser ----------------------------------------------------------------------------

// Returns the main path's handle; 0 also for bad arguments.
static HW_Handle_t openForBand(const unsigned short* pIndex, const unsigned short* pValue,
                               const char* pszCaller = __builtin_FUNCTION()) {
    const HW_Handle_t hAout = fapi::aud::openMainPath(pszCaller);
    if (hAout != HW_HANDLE_NONE && (pIndex == nullptr || pValue == nullptr || *pIndex >= HW_AOUT_PEQ_BANDS)) {
        FAPI_LOGE_AS(pszCaller, "Invalid parameter !\n\n");
        return HW_HANDLE_NONE;
    }
    return hAout;
}

int a_vextvfapi_aud_adv_set_peq_q_value(unsigned short* pIndex, unsigned short* pValue) {
    const HW_Handle_t hAout = openForBand(pIndex, pValue);
    if (hAout == HW_HANDLE_NONE) {
        return -1;
    }
    FAPI_LOGI("Set PEQ Q value - index: %d, value: %d\n\n", *pIndex, *pValue);
    HW_AOUT_BasicSound_t stSound = newPeqRecord();
    stSound.band.stPeq.au16Q[*pIndex] = *pValue;
    return sendRecord(hAout, stSound);
}

int a_vextvfapi_aud_adv_set_peq_freq_value(unsigned short* pIndex, unsigned short* pValue) {
    const HW_Handle_t hAout = openForBand(pIndex, pValue);
    if (hAout == HW_HANDLE_NONE) {
        return -1;
    }
    FAPI_LOGI("Set PEQ Frequency value - index: %d, value: %d\n\n", *pIndex, *pValue);
    HW_AOUT_BasicSound_t stSound = newPeqRecord();
    stSound.band.stPeq.au16Freq[*pIndex] = *pValue;
    return sendRecord(hAout, stSound);
}

int a_vextvfapi_aud_adv_set_peq_gain_value(unsigned short* pIndex, unsigned short* pValue) {
    const HW_Handle_t hAout = openForBand(pIndex, pValue);
    if (hAout == HW_HANDLE_NONE) {
        return -1;
    }
    FAPI_LOGI("Set PEQ Gain value - index: %d, value: %d\n\n", *pIndex, *pValue);
    HW_AOUT_BasicSound_t stSound = newPeqRecord();
    stSound.band.stPeq.au16Gain[*pIndex] = *pValue;
    return sendRecord(hAout, stSound);
}

static bool isBandInRange(unsigned short u16Gain, unsigned short u16Freq, unsigned short u16Q,
                          const char* pszCaller = __builtin_FUNCTION()) {
    if (!kGain.holds(u16Gain)) {
        FAPI_LOGE_AS(pszCaller, "Error! PEQ Gain should be %d~%d!\n", kGain.u16Min, kGain.u16Max);
        return false;
    }
    if (!kFrequency.holds(u16Freq)) {
        FAPI_LOGE_AS(pszCaller, "Error! PEQ Frequency should be %d~%d!\n", kFrequency.u16Min, kFrequency.u16Max);
        return false;
    }
    if (!kQ.holds(u16Q)) {
        FAPI_LOGE_AS(pszCaller, "Error! PEQ QValue should be %d~%d!\n", kQ.u16Min, kQ.u16Max);
        return false;
    }
    return true;
}

int a_vextvfapi_aud_adv_set_peq_value(unsigned short* pIndex, unsigned short* pGain, unsigned short* pFreq,
                                      unsigned short* pQ) {
    const HW_Handle_t hAout = fapi::aud::openMainPath();
    if (hAout == HW_HANDLE_NONE) {
        return -1;
    }
    if (pIndex == nullptr || pFreq == nullptr || pGain == nullptr || pQ == nullptr || *pIndex >= HW_AOUT_PEQ_BANDS) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    if (!isBandInRange(*pGain, *pFreq, *pQ)) {
        return -1;
    }
    FAPI_LOGI("Set PEQ Frequency value - index: %d, Frequency: %d, Gain: %d, Q value: %d\n\n", *pIndex, *pFreq, *pGain,
              *pQ);
    HW_AOUT_BasicSound_t stSound = newPeqRecord();
    stSound.band.stPeq.au16Gain[*pIndex] = *pGain;
    stSound.band.stPeq.au16Freq[*pIndex] = *pFreq;
    stSound.band.stPeq.au16Q[*pIndex] = *pQ;
    return sendRecord(hAout, stSound);
}

// --- An effect with the caller's parameters --------------------------------------------------------------------------

namespace {

using Param = fapi_core::VexTvFApiAudBasicSoundParam_t;

// The caller's record as words. Contract: a count of bands that is too large continues into the words after the list,
// in this record and in the chip's, up to 32 bands.
using Words = std::array<unsigned int, sizeof(Param) / sizeof(unsigned int)>;

// The place of a list of bands in those words, and in the slots of the chip's record.
struct BandList {
    std::size_t firstWord;
    unsigned int u32FirstSlot;

    constexpr BandList(std::size_t offset, unsigned int u32Slot)
        : firstWord(offset / sizeof(unsigned int)), u32FirstSlot(u32Slot) {}
};

constexpr BandList kEqLevels = {offsetof(Param, au32EqLevel), 0};
constexpr BandList kPeqGains = {offsetof(Param, au32PeqGain), 0};
constexpr BandList kPeqFreqs = {offsetof(Param, au32PeqFreq), HW_AOUT_PEQ_BANDS};
constexpr BandList kPeqQs = {offsetof(Param, au32PeqQ), 2 * HW_AOUT_PEQ_BANDS};
static_assert(kPeqQs.firstWord + HW_AOUT_BASIC_SND_SLOTS <= std::tuple_size<Words>::value, "stays inside the record");

}  // namespace

static unsigned int bandsOf(unsigned short u16Count) {
    return std::min<unsigned int>(u16Count, HW_AOUT_BASIC_SND_SLOTS);
}

static void copyBand(const Words& words, const BandList& stList, unsigned int u32Band, HW_AOUT_BasicSound_t& stSound) {
    const unsigned int u32Slot = stList.u32FirstSlot + u32Band;
    if (u32Slot < HW_AOUT_BASIC_SND_SLOTS) {
        stSound.band.au16Band[u32Slot] = static_cast<HW_U16>(words[stList.firstWord + u32Band]);
    }
}

static void logBands(const Words& words, const BandList& stList, unsigned short u16Count, const char* pszCaller) {
    for (unsigned int i = 0; i < bandsOf(u16Count); ++i) {
        FAPI_LOGI_AS(pszCaller, "%u \n", words[stList.firstWord + i]);
    }
    FAPI_LOGI_AS(pszCaller, "]\n");
}

static void fillEq(const Words& words, unsigned short u16Count, HW_AOUT_BasicSound_t& stSound, const char* pszCaller) {
    stSound.u16Value = u16Count;
    FAPI_LOGI_AS(pszCaller, "EQBand = [%u]\n\n", u16Count);
    FAPI_LOGI_AS(pszCaller, "EQBand[\n");
    logBands(words, kEqLevels, u16Count, pszCaller);
    for (unsigned int i = 0; i < bandsOf(u16Count); ++i) {
        copyBand(words, kEqLevels, i, stSound);
    }
}

static void fillPeq(const Words& words, unsigned short u16Count, HW_AOUT_BasicSound_t& stSound, const char* pszCaller) {
    stSound.u16Value = u16Count;
    FAPI_LOGI_AS(pszCaller, "PEQBand = [%u]\n\n", u16Count);
    FAPI_LOGI_AS(pszCaller, "PEQ_Gain[\n");
    logBands(words, kPeqGains, u16Count, pszCaller);
    FAPI_LOGI_AS(pszCaller, "PEQ_Freq[\n");
    logBands(words, kPeqFreqs, u16Count, pszCaller);
    FAPI_LOGI_AS(pszCaller, "PEQ_Q[\n");
    logBands(words, kPeqQs, u16Count, pszCaller);
    // Contract: band by band, so that with more than five bands later gains replace the first frequencies.
    for (unsigned int i = 0; i < bandsOf(u16Count); ++i) {
        copyBand(words, kPeqGains, i, stSound);
        copyBand(words, kPeqFreqs, i, stSound);
        copyBand(words, kPeqQs, i, stSound);
    }
}

static void fillRecord(const Param& stParam, HW_AOUT_BasicSound_t& stSound,
                       const char* pszCaller = __builtin_FUNCTION()) {
    Words words;
    std::memcpy(words.data(), &stParam, sizeof(stParam));
    switch (stSound.u32Type) {
        case E_HW_AOUT_BASIC_SND_PRESCALE:
            stSound.u16Value = static_cast<HW_U16>(stParam.u32Prescale);
            FAPI_LOGI_AS(pszCaller, "PreScale = [%u]\n\n", stSound.u16Value);
            break;
        case E_HW_AOUT_BASIC_SND_EQ:
            fillEq(words, static_cast<unsigned short>(stParam.u32EqBandCount), stSound, pszCaller);
            break;
        case E_HW_AOUT_BASIC_SND_PEQ:
            fillPeq(words, static_cast<unsigned short>(stParam.u32PeqBandCount), stSound, pszCaller);
            break;
        case E_HW_AOUT_BASIC_SND_TREBLE:
            stSound.u16Value = static_cast<HW_U16>(stParam.u32Treble);
            FAPI_LOGI_AS(pszCaller, "Treble = [%u]\n\n", stSound.u16Value);
            break;
        case E_HW_AOUT_BASIC_SND_BASS:
            stSound.u16Value = static_cast<HW_U16>(stParam.u32Bass);
            FAPI_LOGI_AS(pszCaller, "Bass = [%u]\n\n", stSound.u16Value);
            break;
        case E_HW_AOUT_BASIC_SND_BALANCE:
            stSound.u16Value = static_cast<HW_U16>(stParam.u32Balance);
            FAPI_LOGI_AS(pszCaller, "Balance = [%u]\n\n", stSound.u16Value);
            break;
        case E_HW_AOUT_BASIC_SND_ECHO:
            stSound.u16Value = static_cast<HW_U16>(stParam.u32EchoTime);
            FAPI_LOGI_AS(pszCaller, "EchoTime = [%u]\n\n", stSound.u16Value);
            break;
        case E_HW_AOUT_BASIC_SND_NR:
            stSound.u16Value = static_cast<HW_U16>(stParam.u32NrThreshold);
            FAPI_LOGI_AS(pszCaller, "NoiseReductionThreshold = [%u]\n\n", stSound.u16Value);
            break;
        default:
            // Contract: the record is sent, which switches the effect on.
            FAPI_LOGE_AS(pszCaller, "Invalid basic sound type!\n\n");
            break;
    }
}

int a_vextvfapi_aud_basic_snd_set_param(e_vextvfapi_aud_basic_snd_type type,
                                        const fapi_core::VexTvFApiAudBasicSoundParam_t* pParam) {
    if (pParam == nullptr) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    const HW_Handle_t hAout = fapi::aud::openMainPath();
    if (hAout == HW_HANDLE_NONE) {
        return -1;
    }
    if (type >= kEffectCount) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    FAPI_LOGI("BasicSndType: %s \n\n", kNames[type].pszShort);
    HW_AOUT_BasicSound_t stSound = newRecord(type, 1, 0);
    fillRecord(*pParam, stSound);
    return sendRecordOrRed(hAout, stSound);
}
