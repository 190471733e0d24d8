// SPDX-License-Identifier: Apache-2.0
// HW_AUDIO, HW_AOUT.
#include "describe.h"
#include "hw3/hw_aout.h"
#include "hw3/hw_audio.h"

namespace vset {

static void fields(CallText& text, const HW_AUDIO_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}

static void fields(CallText& text, const HW_AOUT_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_AOUT_HandleParams_t& st) {
    text.number("path", st.u32OutPath);
}
static void fields(CallText& text, const HW_AOUT_OpenParams_t& st) {
    text.number("path", st.u32OutPath);
    text.number("flag", st.u8Flag);
    text.bytes("reserved", st.au8Reserved, sizeof(st.au8Reserved));
}
static void fields(CallText& text, const HW_AOUT_AqParams_t& st) {
    text.text("file", st.pu8FileName);
}
static void fields(CallText& text, const HW_AOUT_VolumeTable_t& st) {
    // The table has no length, but is never empty.
    text.numbers("firstVolume", st.pu16VolumeData, 1);
    text.text("table", st.pu8TableName);
}

static void fields(CallText& text, const HW_AOUT_BasicSound_t& st) {
    text.number("type", st.u32Type);
    text.number("enable", st.u8Enable);
    text.number("value", st.u16Value);
    if (text.wantsAll() || st.u32Type == E_HW_AOUT_BASIC_SND_EQ) {
        text.numbers("band", st.band.au16Band);
    }
    if (text.wantsAll() || st.u32Type == E_HW_AOUT_BASIC_SND_PEQ) {
        text.numbers("gain", st.band.stPeq.au16Gain);
        text.numbers("freq", st.band.stPeq.au16Freq);
        text.numbers("q", st.band.stPeq.au16Q);
    }
}

static void fields(CallText& text, const HW_AOUT_AdvSndParams_t& st) {
    const auto is = [&](HW_U32 u32Type) { return text.wantsAll() || st.u32Type == u32Type; };
    text.number("type", st.u32Type);
    text.bytes("attr", st.attr.au8Raw, sizeof(st.attr.au8Raw));
    if (is(E_HW_AOUT_ADV_SND_SRS_TSHD)) {
        text.numbers("enable", st.attr.stSrsTshd.au8Enable);
    }
    if (is(E_HW_AOUT_ADV_SND_SRS_THEATER)) {
        text.numbers("enable5To11", st.attr.stSrsTheater.au8Enable5To11);
        text.numbers("enable12To16", st.attr.stSrsTheater.au8Enable12To16);
    }
    if (is(E_HW_AOUT_ADV_SND_SRS_PURE)) {
        text.numbers("enable", st.attr.stSrsPure.au8Enable);
    }
    if (is(E_HW_AOUT_ADV_SND_DTS_VIRTUALX)) {
        text.numbers("enable", st.attr.stDtsVirtualX.au8Enable);
    }
    if (is(E_HW_AOUT_ADV_SND_DOLBY_VOLUME) || is(E_HW_AOUT_ADV_SND_DOLBY_DAP)) {
        text.number("total", st.attr.stDolbyDapSub.u8Total);
        text.number("atmos", st.attr.stDolbyDapSub.u8Atmos);
        text.number("preGain", st.attr.stDolbyDapParams.stDapGainParam.s32PreGain);
    }
    if (is(E_HW_AOUT_ADV_SND_DBX)) {
        text.number("sonicMode", st.attr.stDbx.u32SonicMode);
        text.number("volumeMode", st.attr.stDbx.u32VolumeMode);
        text.number("surroundMode", st.attr.stDbx.u32SurroundMode);
        text.number("field4", st.attr.stDbx.u32Field4);
        text.number("field5", st.attr.stDbx.u32Field5);
    }
}

namespace describe {

namespace {

WriteArgument soundAttribute(std::size_t index) {
    return attributeValue("value", index, 1,
                          {{E_HW_AOUT_ATTR_VOLUME_TABLE, value<HW_AOUT_VolumeTable_t>},
                           {E_HW_AOUT_ATTR_DTS_BYPASS, value<HW_U8>},
                           {E_HW_AOUT_ATTR_BASIC_SOUND, value<HW_AOUT_BasicSound_t>},
                           {E_HW_AOUT_ATTR_ADV_SND_TYPE, value<HW_U32>},
                           {E_HW_AOUT_ATTR_ADV_SND_PARAM, value<HW_AOUT_AdvSndParams_t>}});
}

void writeInput(CallText& text, const ArgumentValues& values) {
    if (text.wantsAll() || values[1] == E_HW_AOUT_ATTR_BASIC_SOUND) {
        text.numbers("input", valueOf<const HW_U8*>(values[2]), 1);
    } else {
        text.presence("input", values[2] != 0);
    }
}

}  // namespace

std::vector<CallDescription> sound() {
    return {
        VSET_DESCRIBE(HW_AUDIO_Init, "params"),
        VSET_DESCRIBE(HW_AUDIO_DeInit),

        VSET_DESCRIBE(HW_AOUT_Init, "params"),
        VSET_DESCRIBE(HW_AOUT_DeInit),
        lookUp(VSET_DESCRIBE(HW_AOUT_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_AOUT_Open, "params", handle()),
        VSET_DESCRIBE(HW_AOUT_Close, handle()),
        VSET_DESCRIBE(HW_AOUT_SetAttr, handle(), "attr", input(soundAttribute(2))),
        VSET_DESCRIBE(HW_AOUT_GetAttr, handle(), "attr", input(writeInput), output(soundAttribute(3))),
        VSET_DESCRIBE(HW_AOUT_SetDelay, handle(), "path", "delayMs"),
        VSET_DESCRIBE(HW_AOUT_GetDelay, handle(), "path", "delayMs"),
        VSET_DESCRIBE(HW_AOUT_SetVolume, handle(), "path", "volume"),
        VSET_DESCRIBE(HW_AOUT_GetVolume, handle(), "path", "volume"),
        VSET_DESCRIBE(HW_AOUT_LoadAqParams, handle(), "params"),
    };
}

}  // namespace describe

}  // namespace vset
