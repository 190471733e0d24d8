// SPDX-License-Identifier: Apache-2.0
// What the set shows, in words.
#include "operations/panel_words.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <iterator>

#include "operations/input_words.h"
#include "protocol/color.h"

namespace tool {

namespace {

std::string onOff(bool on) {
    return on ? "on" : "off";
}

std::string shown(bool isShown) {
    return isShown ? "shown" : "hidden";
}

std::string hex(std::uint64_t number) {
    char text[24];
    std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(number));
    return text;
}

const char* patternName(std::uint32_t mode) {
    constexpr const char* kNames[] = {"IPMUX", "IP1", "LINEBUFF", "HVSP", "VOP",
                                      "VOP2",  "MOD", "MVOP",     "ADC",  "WHITE_BALANCE"};
    return mode < std::size(kNames) ? kNames[mode] : "?";
}

bool hasQuality(const vset::disp::Window& window) {
    return std::any_of(window.pictureParameters.begin(), window.pictureParameters.end(), [](const auto& sent) {
        const std::uint32_t number = sent.first & 0xFFFF;
        return number == E_HW_DISP_PICTURE_PQ_BLOCK || number == E_HW_DISP_PICTURE_PQ_MASTER;
    });
}

// The switch in a picture parameter that was sent, or "?".
std::string switchWord(const vset::disp::Window& window, std::uint32_t parameter, std::size_t place) {
    const auto found = window.pictureParameters.find(parameter);
    if (found == window.pictureParameters.end() || found->second.size() <= place) {
        return "?";
    }
    return onOff(found->second[place] != 0);
}

}  // namespace

std::string placeWords(const vset::osd::Rectangle& rectangle) {
    return std::to_string(rectangle.u32Width) + "x" + std::to_string(rectangle.u32Height) + " at " +
           std::to_string(rectangle.u32X) + "," + std::to_string(rectangle.u32Y);
}

std::string placeWords(const HW_DISP_Rect_t& rectangle) {
    return placeWords(vset::osd::Rectangle{rectangle.u16X, rectangle.u16Y, rectangle.u16Width, rectangle.u16Height});
}

std::string matrixWords(const vset::osd::Layer& layer) {
    if (!layer.colorMatrix) {
        return {};
    }
    const HW_OSD_ColorMatrix_t& matrix = *layer.colorMatrix;
    const std::pair<const char*, unsigned int> fields[] = {
        {"hue", matrix.u16Hue},           {"saturation", matrix.u16Saturation},
        {"contrast", matrix.u16Contrast}, {"brightness", matrix.u16Brightness},
        {"red", matrix.u16RedGain},       {"green", matrix.u16GreenGain},
        {"blue", matrix.u16BlueGain}};
    std::string text = onOff(matrix.u8Enable != 0) + ":";
    for (const auto& [name, value] : fields) {
        text += std::string(" ") + name + " " + std::to_string(value);
    }
    return text;
}

std::string layerWords(unsigned int number, const vset::osd::Layer& layer) {
    std::string text = "layer " + std::to_string(number) + ": " + shown(layer.bShown) + ", " +
                       placeWords(layer.rectangle) + (layer.bPlayer ? ", player" : "");
    if (layer.u32SrcWidth != layer.rectangle.u32Width || layer.u32SrcHeight != layer.rectangle.u32Height) {
        text += ", from " + std::to_string(layer.u32SrcWidth) + "x" + std::to_string(layer.u32SrcHeight);
    }
    for (const vset::osd::Window& window : layer.windows) {
        text += "; window " + shown(window.bShown) + ", " + placeWords(window.rectangle);
    }
    return layer.colorMatrix ? text + "; color matrix " + matrixWords(layer) : text;
}

std::string layerLines() {
    std::string text;
    for (unsigned int i = 0; i < vset::osd::kLayers; ++i) {
        if (const std::optional<vset::osd::Layer> layer = vset::osd::layer(i)) {
            text += layerWords(i, *layer) + "\n";
        }
    }
    return text;
}

std::string osdLines() {
    std::string text;
    for (unsigned int i = 0; i < vset::osd::kLayers; ++i) {
        const std::optional<vset::osd::Layer> layer = vset::osd::layer(i);
        if (!layer) {
            continue;
        }
        text += layerWords(i, *layer) + "\n";
        for (const vset::osd::Window& window : layer->windows) {
            text += "  window " + hex(window.u32Handle) + " of layer " + hex(layer->u32Handle) + ": z " +
                    std::to_string(window.u32ZOrder) + ", surface " +
                    (window.u32Surface != 0 ? hex(window.u32Surface) : "none") + "\n";
        }
    }
    return text;
}

std::string surfaceLines() {
    std::string text;
    for (const vset::osd::Surface& surface : vset::osd::surfaces()) {
        text += hex(surface.u32Handle) + ": " + std::to_string(surface.u32Width) + "x" +
                std::to_string(surface.u32Height) + ", pitch " + std::to_string(surface.u32Pitch) + ", format " +
                std::to_string(surface.u32ColorFormat) + ", " + (surface.bPhysical ? "physical " : "virtual ") +
                hex(surface.u64Address) + ", locks " + std::to_string(surface.u32Locks) + "\n";
    }
    return text;
}

std::string sourceWords(const vset::disp::Window& window) {
    std::string text;
    if (window.video) {
        const HW_VIDEO_Info_t& video = *window.video;
        text = "video " + timingWords(video.u16Width, video.u16Height, video.u8Interlaced != 0, video.u32FrameRate);
    }
    if (window.input) {
        text += (text.empty() ? "" : " and ") + std::string(inputName(window.input->u32Type)) + " " +
                std::to_string(window.input->u32Index);
    }
    return text.empty() ? "no source" : text;
}

std::string patternWords(const vset::disp::Window& window) {
    const HW_DISP_TestPattern_t& pattern = window.testPattern;
    if (pattern.u32Enable == 0) {
        return "off";
    }
    return std::string(patternName(pattern.u32Mode)) + " " + std::to_string(pattern.u32Param) + " " +
           deepColorText(pattern.au32Value);
}

std::string qualityWords(const vset::disp::Window& window) {
    std::string text = "blocks";
    for (std::uint32_t i = 0; i < 3; ++i) {
        text += " " + switchWord(window, E_HW_DISP_PICTURE_PQ_BLOCK | i << 16, offsetof(HW_DISP_PqBlock_t, u8Enable));
    }
    return text + ", master " + switchWord(window, E_HW_DISP_PICTURE_PQ_MASTER, 0);
}

std::string windowWords(unsigned int number) {
    const vset::disp::Window window = vset::disp::window(number);
    std::string text = "window " + std::to_string(number) + ": " + (window.bOpen ? "open" : "closed") +
                       (window.bPlayer ? ", player; " : "; ") + sourceWords(window);
    if (window.u32MuteFlags != 0) {
        text += "; muted " + hex(window.u32MuteFlags) + " in " + deepColorText(window.muteColor.au32Value);
    }
    if (window.testPattern.u32Enable != 0) {
        text += "; pattern " + patternWords(window);
    }
    if (hasQuality(window)) {
        text += "; quality " + qualityWords(window);
    }
    return text;
}

std::string windowLines() {
    std::string text;
    for (unsigned int i = 0; i < vset::disp::kWindows; ++i) {
        text += windowWords(i) + "\n";
    }
    return text;
}

}  // namespace tool
