// SPDX-License-Identifier: Apache-2.0
// HW_EXTIN, HW_CEC, HW_TUNER, HW_VIDEO.
#include "describe.h"
#include "hw3/hw_cec.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_tuner.h"
#include "hw3/hw_video.h"

namespace vset {

static void fields(CallText& text, const HW_EXTIN_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_EXTIN_Caps_t& st) {
    text.number("hdmi", st.u8HdmiNum);
    text.number("ypbpr", st.u8YpbprNum);
    text.number("vga", st.u8VgaNum);
    text.number("cvbs", st.u8CvbsNum);
    text.number("svideo", st.u8SvideoNum);
    text.number("scart", st.u8ScartNum);
    text.number("vd", st.u8VdNum);
}
static void fields(CallText& text, const HW_EXTIN_HandleParams_t& st) {
    text.number("type", st.u32Type);
    text.number("index", st.u32Index);
}
static void fields(CallText& text, const HW_EXTIN_OpenParams_t& st) {
    text.number("openValue", st.u32OpenValue);
    text.number("type", st.u32Type);
    text.number("index", st.u32Index);
}
static void fields(CallText& text, const HW_EXTIN_HdmiEdid_t& st) {
    text.number("reserved", st.u32Reserved);
    text.number("version", st.u32Version);
    text.number("size", st.u32Size);
    // An EDID above the limit is refused unread.
    text.bytes("data", st.pu8Data, st.u32Size <= HW_EXTIN_EDID_MAX_SIZE ? st.u32Size : 0);
}
static void fields(CallText& text, const HW_EXTIN_HdmiHpd_t& st) {
    text.number("reserved", st.u8Reserved);
    text.number("level", st.u8Level);
}
static void fields(CallText& text, const HW_EXTIN_Timing_t& st) {
    text.number("width", st.u32Width);
    text.number("height", st.u32Height);
    text.number("interlaced", st.u8Interlaced);
    text.number("frameRate", st.u32FrameRate);
}
static void fields(CallText& text, const HW_EXTIN_AdcPhase_t& st) {
    text.number("red", st.u32Red);
    text.number("green", st.u32Green);
    text.number("blue", st.u32Blue);
}
static void fields(CallText& text, const HW_EXTIN_AdcGainOffset_t& st) {
    text.number("redGain", st.u32RedGain);
    text.number("greenGain", st.u32GreenGain);
    text.number("blueGain", st.u32BlueGain);
    text.number("redOffset", st.u32RedOffset);
    text.number("greenOffset", st.u32GreenOffset);
    text.number("blueOffset", st.u32BlueOffset);
}

static void fields(CallText& text, const HW_CEC_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_CEC_HandleParams_t& st) {
    text.number("index", st.u32Index);
}
static void fields(CallText& text, const HW_CEC_OpenParams_t& st) {
    text.number("index", st.u32Index);
}

static void fields(CallText& text, const HW_TUNER_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_TUNER_Caps_t& st) {
    text.number("slots", st.u32SlotNum);
}
static void fields(CallText& text, const HW_TUNER_HandleParams_t& st) {
    text.number("slot", st.u32Slot);
}
static void fields(CallText& text, const HW_TUNER_OpenParams_t& st) {
    text.number("slot", st.u32Slot);
    text.number("mode", st.u32Mode);
}

static void fields(CallText& text, const HW_VIDEO_Info_t& st) {
    text.number("width", st.u16Width);
    text.number("height", st.u16Height);
    text.number("frameRate", st.u32FrameRate);
    text.number("interlaced", st.u8Interlaced);
}

namespace describe {

namespace {

void writeText(CallText& text, const void* pValue) {
    text.text("value", pValue, HW_TUNER_TEXT_SIZE);
}

WriteArgument inputAttribute(std::size_t index) {
    return attributeValue("value", index, 1,
                          {{E_HW_EXTIN_ATTR_HDMI_EDID, value<HW_EXTIN_HdmiEdid_t>},
                           {E_HW_EXTIN_ATTR_HDMI_HPD, value<HW_EXTIN_HdmiHpd_t>},
                           {E_HW_EXTIN_ATTR_TIMING, value<HW_EXTIN_Timing_t>},
                           {E_HW_EXTIN_ATTR_ADC_PHASE, value<HW_EXTIN_AdcPhase_t>},
                           {E_HW_EXTIN_ATTR_ADC_GAIN_OFFSET, value<HW_EXTIN_AdcGainOffset_t>}});
}

WriteArgument factoryValue(std::size_t index) {
    return attributeValue("value", index, 1, {{kAnyNumber, value<HW_U32>}});
}

WriteArgument tunerText() {
    return attributeValue("value", 3, 1, {{kAnyNumber, writeText}});
}

}  // namespace

std::vector<CallDescription> inputs() {
    return {
        VSET_DESCRIBE(HW_EXTIN_Init, "params"),
        VSET_DESCRIBE(HW_EXTIN_DeInit),
        VSET_DESCRIBE(HW_EXTIN_GetCaps, "caps"),
        lookUp(VSET_DESCRIBE(HW_EXTIN_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_EXTIN_Open, "params", handle()),
        VSET_DESCRIBE(HW_EXTIN_Close, handle()),
        VSET_DESCRIBE(HW_EXTIN_SetAttr, handle(), "attr", input(inputAttribute(2))),
        VSET_DESCRIBE(HW_EXTIN_GetAttr, handle(), "attr", unusedInput(2), output(inputAttribute(3))),
        VSET_DESCRIBE(HW_EXTIN_AutoGainOffset, handle()),
        VSET_DESCRIBE(HW_EXTIN_DetectTvSystem, handle(), "mode", "system"),
        VSET_DESCRIBE(HW_EXTIN_GetSignalStatus, handle(), "status"),
        VSET_DESCRIBE(HW_EXTIN_FactorySetAttr, handle(), "type", input(factoryValue(2))),
        VSET_DESCRIBE(HW_EXTIN_FactoryGetAttr, handle(), "type", unusedInput(2), output(factoryValue(3))),

        VSET_DESCRIBE(HW_CEC_Init, "params"),
        lookUp(VSET_DESCRIBE(HW_CEC_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_CEC_Open, "params", handle()),
        VSET_DESCRIBE(HW_CEC_Close, handle()),
        VSET_DESCRIBE(HW_CEC_Enable, handle()),
        VSET_DESCRIBE(HW_CEC_Disable, handle()),
        VSET_DESCRIBE(HW_CEC_GetAttr, handle(), "attr", unusedInput(2),
                      output(attributeValue(
                          "value", 3, 1,
                          {{E_HW_CEC_ATTR_ENABLE_STATUS, value<HW_S8>}, {E_HW_CEC_ATTR_EARC_STATUS, value<HW_S32>}}))),

        VSET_DESCRIBE(HW_TUNER_Init, "params"),
        VSET_DESCRIBE(HW_TUNER_GetCaps, "caps"),
        lookUp(VSET_DESCRIBE(HW_TUNER_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_TUNER_Open, "params", handle()),
        VSET_DESCRIBE(HW_TUNER_GetAttr, handle(), "attr", unusedInput(2), output(tunerText())),
        VSET_DESCRIBE(HW_TUNER_FactoryCmdGetAttr, handle(), "command", unusedInput(2), output(tunerText())),
        VSET_DESCRIBE(HW_TUNER_FactoryCmdApplyVif, handle(), "step"),
        // The result answers whether the tuner is locked, so a failure is no refusal.
        lookUp(VSET_DESCRIBE(HW_TUNER_GetLock, handle())),
        VSET_DESCRIBE(HW_TUNER_GetBer, handle(), "ber"),

        VSET_DESCRIBE(HW_VIDEO_GetAttr, handle(), "attr", unusedInput(2),
                      output(attributeValue("value", 3, 1, {{E_HW_VIDEO_ATTR_INFO, value<HW_VIDEO_Info_t>}}))),
    };
}

}  // namespace describe

}  // namespace vset
