// SPDX-License-Identifier: Apache-2.0
// External inputs, what is plugged into them and how they are calibrated, in words.
#include "operations/input_words.h"

#include <cstdio>
#include <iterator>
#include <utility>

namespace tool {

namespace {

constexpr long long kU32Max = 0xFFFFFFFFll;

// A range of the library's numbers of sources.
struct SourceRange {
    unsigned int first, last;
    const char* name;
    bool isCounted;  // there are several
};
constexpr SourceRange kSources[] = {
    {0, 0, "VGA", false},      {1, 1, "video decoder", false}, {2, 9, "CVBS", true},
    {11, 14, "S-Video", true}, {16, 18, "YPbPr", true},        {20, 21, "SCART", true},
    {23, 26, "HDMI", true},    {28, 28, "none", false},        {45, 45, "unknown", false},
};

const char* signalName(std::uint32_t status) {
    constexpr const char* kNames[] = {"no signal", "locked", "unknown signal"};
    return status < std::size(kNames) ? kNames[status] : "?";
}

}  // namespace

Argument inputType() {
    return {"type",
            Kind::choice,
            "the input's kind",
            0,
            kU32Max,
            {{"hdmi", E_HW_EXTIN_TYPE_HDMI},
             {"ypbpr", E_HW_EXTIN_TYPE_YPBPR},
             {"vga", E_HW_EXTIN_TYPE_VGA},
             {"cvbs", E_HW_EXTIN_TYPE_CVBS},
             {"svideo", E_HW_EXTIN_TYPE_SVIDEO},
             {"scart", E_HW_EXTIN_TYPE_SCART},
             {"vd", E_HW_EXTIN_TYPE_VD}}};
}

Argument analogInputType() {
    return {"type",
            Kind::choice,
            "the analogue input's kind",
            0,
            0,
            {{"vga", E_HW_EXTIN_TYPE_VGA}, {"ypbpr", E_HW_EXTIN_TYPE_YPBPR}, {"scart", E_HW_EXTIN_TYPE_SCART}}};
}

Argument inputIndex(std::optional<std::string> byDefault) {
    return {"index", Kind::number, "the input's number among its kind", 0, kU32Max, {}, std::move(byDefault)};
}

const char* inputName(std::uint32_t type) {
    constexpr const char* kNames[] = {"HDMI", "YPbPr", "VGA", "CVBS", "S-Video", "SCART", "VD", "none"};
    return type < std::size(kNames) ? kNames[type] : "?";
}

std::string sourceName(unsigned int number) {
    for (const SourceRange& range : kSources) {
        if (number >= range.first && number <= range.last) {
            return range.name + (range.isCounted ? " " + std::to_string(number - range.first) : "");
        }
    }
    return "?";
}

std::string timingWords(unsigned int width, unsigned int height, bool interlaced, unsigned int frameRate) {
    char rate[24];
    std::snprintf(rate, sizeof(rate), "%.3f", frameRate / 1000.0);
    return std::to_string(width) + "x" + std::to_string(height) + (interlaced ? "i " : "p ") + rate + " Hz";
}

std::string pluggedWords(const vset::extin::Input& input) {
    if (!input.source) {
        return "nothing";
    }
    const HW_EXTIN_Timing_t& timing = input.source->stTiming;
    const std::string text =
        timingWords(timing.u32Width, timing.u32Height, timing.u8Interlaced != 0, timing.u32FrameRate) + ", " +
        signalName(input.source->u32Status);
    return input.source->u32TvSystem < E_HW_EXTIN_TV_SYSTEM_NONE
               ? text + ", TV system " + std::to_string(input.source->u32TvSystem)
               : text;
}

std::string calibrationWords(std::uint32_t type, std::uint32_t index) {
    const vset::extin::Calibration calibration = vset::extin::calibration(type, index);
    const auto row = [](const char* name, unsigned int red, unsigned int green, unsigned int blue) {
        return std::string(name) + " " + std::to_string(red) + "/" + std::to_string(green) + "/" + std::to_string(blue);
    };
    const HW_EXTIN_AdcPhase_t& phase = calibration.stPhase;
    const HW_EXTIN_AdcGainOffset_t& values = calibration.stGainOffset;
    return row("phase", phase.u32Red, phase.u32Green, phase.u32Blue) + ", " +
           row("gain", values.u32RedGain, values.u32GreenGain, values.u32BlueGain) + ", " +
           row("offset", values.u32RedOffset, values.u32GreenOffset, values.u32BlueOffset);
}

NamedValues namedValues(const HW_EXTIN_AdcGainOffset_t& values) {
    return {{{"red_gain", values.u32RedGain},
             {"green_gain", values.u32GreenGain},
             {"blue_gain", values.u32BlueGain},
             {"red_offset", values.u32RedOffset},
             {"green_offset", values.u32GreenOffset},
             {"blue_offset", values.u32BlueOffset}}};
}

}  // namespace tool
