// SPDX-License-Identifier: Apache-2.0
// Paints the pixels of a surface onto a picture.
#include "osd_paint.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace vset {

namespace {

constexpr std::size_t kPixelSize = sizeof(std::uint32_t);
constexpr std::uint32_t kOpaque = 0xFF000000;

std::uint32_t loadPixel(const HW_U8* pu8Pixel) {
    std::uint32_t u32Pixel;
    std::memcpy(&u32Pixel, pu8Pixel, sizeof(u32Pixel));
    return u32Pixel;
}

// --- Colors ----------------------------------------------------------------------------------------------------------

using Color = std::array<double, 3>;  // red, green, blue

constexpr double kNeutral = 50, kLimit = 100;
constexpr double kNeutralGain = 1024, kGainLimit = 2047;
constexpr double kMiddleGray = 128;

double upTo(double limit, HW_U16 u16Value) {
    return std::min<double>(limit, u16Value);
}

Color adjust(const HW_OSD_ColorMatrix_t& stMatrix, const Color& color) {
    constexpr double kPi = 3.14159265358979323846;
    // The share of each color in the brightness, and the weights of the two color differences that hue turns.
    constexpr double kRed = 0.299, kGreen = 0.587, kBlue = 0.114, kU = 0.492, kV = 0.877;
    const double angle = (upTo(kLimit, stMatrix.u16Hue) - kNeutral) / kNeutral * kPi;
    const double saturation = upTo(kLimit, stMatrix.u16Saturation) / kNeutral;
    const double contrast = upTo(kLimit, stMatrix.u16Contrast) / kNeutral;
    const double brightness = (upTo(kLimit, stMatrix.u16Brightness) - kNeutral) / kNeutral * 255;

    const auto [red, green, blue] = color;
    const double y = kRed * red + kGreen * green + kBlue * blue;
    const double u = kU * (blue - y), v = kV * (red - y);
    const double turnedU = (u * std::cos(angle) - v * std::sin(angle)) * saturation;
    const double turnedV = (u * std::sin(angle) + v * std::cos(angle)) * saturation;
    const double outRed = y + turnedV / kV, outBlue = y + turnedU / kU;
    const double outGreen = (y - kRed * outRed - kBlue * outBlue) / kGreen;

    const auto finish = [&](double value, HW_U16 u16Gain) {
        const double contrasted = (value - kMiddleGray) * contrast + kMiddleGray;
        return (contrasted + brightness) * upTo(kGainLimit, u16Gain) / kNeutralGain;
    };
    return {finish(outRed, stMatrix.u16RedGain), finish(outGreen, stMatrix.u16GreenGain),
            finish(outBlue, stMatrix.u16BlueGain)};
}

// adjust() in whole numbers: it is linear, so that the images of black and of the three colors define it.
class ColorMap {
public:
    explicit ColorMap(const HW_OSD_ColorMatrix_t& stMatrix) {
        const Color black = adjust(stMatrix, {});
        for (std::size_t from = 0; from < 3; ++from) {
            Color unit = {};
            unit[from] = 1;
            const Color image = adjust(stMatrix, unit);
            for (std::size_t to = 0; to < 3; ++to) {
                _factors[to][from] = fixed(image[to] - black[to]);
            }
        }
        for (std::size_t to = 0; to < 3; ++to) {
            _offsets[to] = fixed(black[to] + 0.5);
        }
    }

    std::uint32_t operator()(std::uint32_t u32Pixel) const {
        const std::array<int, 3> in = {static_cast<int>(u32Pixel >> 16 & 0xFF), static_cast<int>(u32Pixel >> 8 & 0xFF),
                                       static_cast<int>(u32Pixel & 0xFF)};
        std::uint32_t u32Out = u32Pixel >> 24;
        for (std::size_t to = 0; to < 3; ++to) {
            const int s32Sum =
                _offsets[to] + _factors[to][0] * in[0] + _factors[to][1] * in[1] + _factors[to][2] * in[2];
            u32Out = u32Out << 8 | static_cast<std::uint32_t>(std::clamp(s32Sum / kOne, 0, 255));
        }
        return u32Out;
    }

private:
    // With these limits, sums stay far below the limit of an int.
    static constexpr int kOne = 4096;
    static int fixed(double value) { return static_cast<int>(std::lround(value * kOne)); }

    std::array<std::array<int, 3>, 3> _factors;
    std::array<int, 3> _offsets;
};

// Returns the picture's pixel with the other one over it, opaque.
std::uint32_t over(std::uint32_t u32Picture, std::uint32_t u32Pixel) {
    constexpr std::uint32_t kLanes = 0x00FF00FF, kHalf = 0x00800080;
    const std::uint32_t u32Alpha = u32Pixel >> 24;
    // Two colors at a time; x + x / 256 + 1/2 divided by 256 is x / 255, rounded.
    const auto mix = [&](std::uint32_t u32Over, std::uint32_t u32Under) {
        const std::uint32_t u32Sum = (u32Over & kLanes) * u32Alpha + (u32Under & kLanes) * (0xFF - u32Alpha) + kHalf;
        return (u32Sum + (u32Sum >> 8 & kLanes)) >> 8 & kLanes;
    };
    return kOpaque | mix(u32Pixel >> 8, u32Picture >> 8) << 8 | mix(u32Pixel, u32Picture);
}

void blendPixel(std::uint32_t& u32Picture, std::uint32_t u32Pixel, const ColorMap* pMap) {
    if (u32Pixel < 1u << 24) {
        return;
    }
    const std::uint32_t u32Mapped = pMap != nullptr ? (*pMap)(u32Pixel) : u32Pixel;
    u32Picture = u32Mapped >= kOpaque ? u32Mapped : over(u32Picture, u32Mapped);
}

void blendRow(std::uint32_t* pu32Picture, const HW_U8* pu8Pixels, std::size_t count, const ColorMap* pMap) {
    constexpr std::uint64_t kAlphas = 0xFF000000FF000000;
    std::size_t i = 0;
    // Two pixels at a time, since most of a layer is transparent.
    for (; i + 1 < count; i += 2) {
        std::uint64_t u64Both;
        std::memcpy(&u64Both, pu8Pixels + i * kPixelSize, sizeof(u64Both));
        if ((u64Both & kAlphas) != 0) {
            blendPixel(pu32Picture[i], loadPixel(pu8Pixels + i * kPixelSize), pMap);
            blendPixel(pu32Picture[i + 1], loadPixel(pu8Pixels + (i + 1) * kPixelSize), pMap);
        }
    }
    if (i < count) {
        blendPixel(pu32Picture[i], loadPixel(pu8Pixels + i * kPixelSize), pMap);
    }
}

// --- Geometry --------------------------------------------------------------------------------------------------------

// A line of `u32Source` pixels of what is shown, drawn from `u32Start` on over `u32Length` pixels.
struct Stretch {
    std::uint32_t u32Start, u32Length, u32Source;

    // Returns the source's pixel at a place that is not before the start.
    std::uint64_t sourceAt(std::uint64_t u64Place) const { return (u64Place - u32Start) * u32Source / u32Length; }
    bool isBehind(std::uint64_t u64Place) const { return u64Place - u32Start >= u32Length; }
};

// The pixels of a surface that are seen along one direction of the picture.
struct Seen {
    std::uint32_t u32First = 0;              // in the picture
    std::vector<std::uint32_t> fromSurface;  // for this pixel and those after it
    bool bOneToOne = true;
};

Seen see(std::uint32_t u32Picture, const Stretch& stLayer, const Stretch& stWindow, std::uint32_t u32Surface) {
    Seen seen;
    for (std::uint32_t u32Place = stLayer.u32Start; u32Place < u32Picture && !stLayer.isBehind(u32Place); ++u32Place) {
        const std::uint64_t u64OnLayer = stLayer.sourceAt(u32Place);
        if (u64OnLayer < stWindow.u32Start) {
            continue;
        }
        if (stWindow.isBehind(u64OnLayer)) {
            break;
        }
        const std::uint64_t u64OnSurface = stWindow.sourceAt(u64OnLayer);
        if (u64OnSurface >= u32Surface) {
            break;
        }
        if (seen.fromSurface.empty()) {
            seen.u32First = u32Place;
        } else if (u64OnSurface != seen.fromSurface.back() + std::uint64_t{1}) {
            seen.bOneToOne = false;
        }
        seen.fromSurface.push_back(static_cast<std::uint32_t>(u64OnSurface));
    }
    return seen;
}

}  // namespace

void paintSurface(const osd::Layer& stLayer, const osd::Window& stWindow, const osd::Surface& stSurface,
                  const HW_U8* pu8Pixels, Picture& picture) {
    const osd::Rectangle &stOnPanel = stLayer.rectangle, &stOnLayer = stWindow.rectangle;
    const Seen columns = see(picture.u32Width, {stOnPanel.u32X, stOnPanel.u32Width, stLayer.u32SrcWidth},
                             {stOnLayer.u32X, stOnLayer.u32Width, stWindow.u32SrcWidth}, stSurface.u32Width);
    const Seen rows = see(picture.u32Height, {stOnPanel.u32Y, stOnPanel.u32Height, stLayer.u32SrcHeight},
                          {stOnLayer.u32Y, stOnLayer.u32Height, stWindow.u32SrcHeight}, stSurface.u32Height);
    if (columns.fromSurface.empty()) {
        return;
    }
    const bool bColors = stLayer.colorMatrix && stLayer.colorMatrix->u8Enable != 0;
    const std::optional<ColorMap> map = bColors ? std::optional<ColorMap>(*stLayer.colorMatrix) : std::nullopt;
    const std::size_t count = columns.fromSurface.size();
    std::vector<HW_U8> gathered(columns.bOneToOne ? 0 : count * kPixelSize);
    for (std::size_t i = 0; i < rows.fromSurface.size(); ++i) {
        const HW_U8* const pu8Row = pu8Pixels + std::size_t{rows.fromSurface[i]} * stSurface.u32Pitch;
        const HW_U8* pu8Seen = pu8Row + columns.fromSurface.front() * kPixelSize;
        if (!columns.bOneToOne) {
            for (std::size_t column = 0; column < count; ++column) {
                std::memcpy(&gathered[column * kPixelSize], pu8Row + columns.fromSurface[column] * kPixelSize,
                            kPixelSize);
            }
            pu8Seen = gathered.data();
        }
        std::uint32_t* const pu32Row = &picture.pixels[(rows.u32First + i) * picture.u32Width];
        blendRow(pu32Row + columns.u32First, pu8Seen, count, map ? &*map : nullptr);
    }
}

}  // namespace vset
