// SPDX-License-Identifier: Apache-2.0
// What the chip holds of picture, panel and timing, in words.
#include "operations/picture_words.h"

#include <algorithm>
#include <cstring>

#include "hw3/hw_dispout.h"
#include "operations/panel_words.h"
#include "vset/dispout.h"
#include "vset/dval.h"

namespace tool {

namespace {

constexpr std::uint32_t kNumberMask = 0xFFFF;

void append(std::string& text, const std::string& words) {
    if (!words.empty()) {
        text += (text.empty() ? "" : ", ") + words;
    }
}

// The signed 32-bit numbers of a record.
std::string numbers(const std::string& bytes) {
    std::string text;
    for (std::size_t i = 0; i + sizeof(std::int32_t) <= bytes.size(); i += sizeof(std::int32_t)) {
        std::int32_t number = 0;
        std::memcpy(&number, &bytes[i], sizeof(number));
        text += (text.empty() ? "" : "/") + std::to_string(number);
    }
    return text;
}

std::string parameterWords(std::uint32_t parameter, const std::string& bytes) {
    switch (parameter & kNumberMask) {
        case E_HW_DISP_PICTURE_PQ_BLOCK:
        case E_HW_DISP_PICTURE_PQ_MASTER:
        case E_HW_DISP_PICTURE_GAMMA_CURVE:
            // In words elsewhere.
            return {};
        case E_HW_DISP_PICTURE_COLOR_TEMP:
            return "color temperature " + numbers(bytes);
        case E_HW_DISP_PICTURE_STRUCT:
            return "structured " + numbers(bytes);
        case E_HW_DISP_PICTURE_GAMMA_ENABLE:
            return std::string("gamma ") + (!bytes.empty() && bytes[0] != 0 ? "on" : "off");
        default:
            return "parameter " + std::to_string(parameter) + " " + numbers(bytes);
    }
}

template <class Record>
Record recordOf(const std::string& bytes) {
    Record record = {};
    std::memcpy(&record, bytes.data(), std::min(sizeof(record), bytes.size()));
    return record;
}

// The texts of the timing controller are as long as their fields, or end with a NUL.
std::string fieldText(const HW_U8 (&field)[16]) {
    const char* const text = reinterpret_cast<const char*>(field);
    return std::string(text, strnlen(text, sizeof(field)));
}

}  // namespace

std::string pictureWords(const vset::disp::Window& window) {
    std::string text;
    for (const auto& [parameter, bytes] : window.pictureParameters) {
        append(text, parameterWords(parameter, bytes));
    }
    const std::string curves = gammaWords(window);
    append(text, curves.empty() ? "" : "curves " + curves);
    const std::string piece = pieceWords(window);
    append(text, piece.empty() ? "" : "piece " + piece);
    return text;
}

std::string pictureLines() {
    std::string text;
    for (unsigned int i = 0; i < vset::disp::kWindows; ++i) {
        const std::string words = pictureWords(vset::disp::window(i));
        text += words.empty() ? "" : "window " + std::to_string(i) + ": " + words + "\n";
    }
    return text;
}

std::string gammaWords(const vset::disp::Window& window) {
    constexpr const char* kNames[] = {"red ", "green ", "blue "};
    std::string text;
    for (std::size_t i = 0; i < window.gamma.size(); ++i) {
        const std::vector<std::uint16_t>& curve = window.gamma[i];
        if (!curve.empty()) {
            append(text, kNames[i] + std::to_string(curve.front()) + "/" + std::to_string(curve[curve.size() / 2]) +
                             "/" + std::to_string(curve.back()));
        }
    }
    return text;
}

std::string pieceWords(const vset::disp::Window& window) {
    if (!window.inputRectangle) {
        return {};
    }
    const HW_DISP_InputRect_t& piece = *window.inputRectangle;
    return placeWords(HW_DISP_Rect_t{piece.u16X, piece.u16Y, piece.u16Width, piece.u16Height}) + " of " +
           std::to_string(piece.u16BaseWidth) + "x" + std::to_string(piece.u16BaseHeight);
}

std::string panelAttributeWords(std::uint32_t attribute) {
    const std::string bytes = vset::dispout::attribute(attribute);
    switch (attribute) {
        case E_HW_DISPOUT_PANEL_PWM_RANGE: {
            const auto range = recordOf<HW_DISPOUT_PwmRange_t>(bytes);
            return "min " + std::to_string(range.u32PwmMinVal) + ", max " + std::to_string(range.u32PwmMaxVal);
        }
        case E_HW_DISPOUT_PANEL_LVDS_SSC: {
            const auto ssc = recordOf<HW_DISPOUT_LvdsSsc_t>(bytes);
            return "enable " + std::to_string(ssc.u8Enable) + ", span " + std::to_string(ssc.u16SscSpan) + ", step " +
                   std::to_string(ssc.u16SscStep);
        }
        case E_HW_DISPOUT_PANEL_7: {
            const auto panel = recordOf<HW_DISPOUT_Panel7_t>(bytes);
            return std::to_string(panel.u8A) + "/" + std::to_string(panel.u8B);
        }
        case E_HW_DISPOUT_PANEL_8: {
            const auto panel = recordOf<HW_DISPOUT_Panel8_t>(bytes);
            return std::to_string(panel.u8A) + "/" + std::to_string(panel.u16B) + "/" + std::to_string(panel.u16C) +
                   "/" + std::to_string(panel.u16D);
        }
        case E_HW_DISPOUT_PANEL_FRC_DEVICE: {
            const auto device = recordOf<HW_DISPOUT_FrcDevice_t>(bytes);
            return "model " + std::to_string(device.eExtFrcModel) + ", firmware " + std::to_string(device.u32FwVer);
        }
        case E_HW_DISPOUT_PANEL_TCON_INFO: {
            const auto info = recordOf<HW_DISPOUT_TconInfo_t>(bytes);
            return "project " + fieldText(info.u8TconProjectName) + ", customer " + fieldText(info.u8TconCustomerName);
        }
        default:
            return std::to_string(recordOf<HW_U32>(bytes));
    }
}

std::string controllerWords() {
    const vset::disp::Controller controller = vset::disp::controller();
    return "timing " + std::to_string(controller.u32Timing) + ", free run " + std::to_string(controller.s32FreeRun);
}

std::string driverWords() {
    const vset::dval::Drivers drivers = vset::dval::drivers();
    std::string text = "arguments";
    for (const auto& [argument, value] : drivers.arguments) {
        text += " " + std::to_string(argument) + "=" + std::to_string(value);
    }
    text += drivers.arguments.empty() ? " none" : "";
    if (drivers.overScan) {
        text += "; overscan left " + std::to_string(drivers.overScan->s32Left) + " right " +
                std::to_string(drivers.overScan->s32Right) + " top " + std::to_string(drivers.overScan->s32Top) +
                " bottom " + std::to_string(drivers.overScan->s32Bottom);
    }
    return text + "; resets " + std::to_string(drivers.u64Resets);
}

}  // namespace tool
