// SPDX-License-Identifier: Apache-2.0
// The picture of a display window: mute color, test pattern, or the bars of its source.
#include "disp_picture.h"

#include <algorithm>
#include <array>

namespace vset {

namespace {

using Color = std::uint32_t;

constexpr Color kOpaque = 0xFF000000;

Color pack(unsigned int u32Red, unsigned int u32Green, unsigned int u32Blue) {
    return kOpaque | u32Red << 16 | u32Green << 8 | u32Blue;
}

// Converts red, green and blue of 10 bits each.
Color fromTenBits(const HW_U32 (&au32Value)[3]) {
    const auto eightBits = [](HW_U32 u32Value) { return std::min(u32Value, 1023u) >> 2; };
    return pack(eightBits(au32Value[0]), eightBits(au32Value[1]), eightBits(au32Value[2]));
}

void fill(Picture& picture, Color color) {
    std::fill(picture.pixels.begin(), picture.pixels.end(), color);
}

// --- Test patterns ---------------------------------------------------------------------------------------------------

struct Point {
    unsigned int u32X, u32Y;
    unsigned int u32Width, u32Height;  // of the picture
};

// Returns the share of the color in a pattern at a point, 0 to 255.
using Share = unsigned int (*)(const Point& stPoint);

constexpr unsigned int kFull = 255;

unsigned int fullIf(bool bFull) {
    return bFull ? kFull : 0;
}

unsigned int verticalStripes(const Point& stPoint) {
    return fullIf(stPoint.u32X / 32 % 2 == 0);
}
unsigned int horizontalStripes(const Point& stPoint) {
    return fullIf(stPoint.u32Y / 32 % 2 == 0);
}
unsigned int checkerboard(const Point& stPoint) {
    return fullIf((stPoint.u32X / 60 + stPoint.u32Y / 60) % 2 == 0);
}
unsigned int crosshatch(const Point& stPoint) {
    return fullIf(stPoint.u32X % 60 < 2 || stPoint.u32Y % 60 < 2);
}
unsigned int horizontalRamp(const Point& stPoint) {
    return stPoint.u32X * 256 / stPoint.u32Width;
}
unsigned int verticalRamp(const Point& stPoint) {
    return stPoint.u32Y * 256 / stPoint.u32Height;
}
unsigned int everywhere(const Point&) {
    return kFull;
}
unsigned int diagonalStripes(const Point& stPoint) {
    return fullIf((stPoint.u32X + stPoint.u32Y) / 32 % 2 == 0);
}
unsigned int frame(const Point& stPoint) {
    return fullIf(std::min(stPoint.u32X, stPoint.u32Y) < 32 || stPoint.u32X + 32 >= stPoint.u32Width ||
                  stPoint.u32Y + 32 >= stPoint.u32Height);
}
unsigned int centreBox(const Point& stPoint) {
    const auto isInner = [](unsigned int u32At, unsigned int u32Size) {
        return u32At >= u32Size / 4 && u32At < u32Size - u32Size / 4;
    };
    return fullIf(isInner(stPoint.u32X, stPoint.u32Width) && isInner(stPoint.u32Y, stPoint.u32Height));
}

// The shapes by mode: each shows where in the picture path its pattern is made.
constexpr Share kShapes[] = {verticalStripes, horizontalStripes, checkerboard,    crosshatch, horizontalRamp,
                             verticalRamp,    everywhere,        diagonalStripes, frame,      centreBox};

// Returns the colors from black to `color`.
std::array<Color, kFull + 1> shadesOf(Color color) {
    std::array<Color, kFull + 1> shades;
    for (unsigned int u32Share = 0; u32Share <= kFull; ++u32Share) {
        const auto part = [&](unsigned int u32Shift) { return (color >> u32Shift & 0xFF) * u32Share / kFull; };
        shades[u32Share] = pack(part(16), part(8), part(0));
    }
    return shades;
}

void paintTestPattern(const HW_DISP_TestPattern_t& stPattern, Picture& picture) {
    const Share share = kShapes[stPattern.u32Mode];
    const auto shades = shadesOf(fromTenBits(stPattern.au32Value));
    Color* pPixel = picture.pixels.data();
    Point stPoint = {0, 0, picture.u32Width, picture.u32Height};
    for (stPoint.u32Y = 0; stPoint.u32Y < picture.u32Height; ++stPoint.u32Y) {
        for (stPoint.u32X = 0; stPoint.u32X < picture.u32Width; ++stPoint.u32X) {
            *pPixel++ = shades[share(stPoint)];
        }
    }
}

// --- Sources ---------------------------------------------------------------------------------------------------------

// White, yellow, cyan, green, magenta, red, blue, black at 75 %.
constexpr Color kBars[] = {0xFFBFBFBF, 0xFFBFBF00, 0xFF00BFBF, 0xFF00BF00,
                           0xFFBF00BF, 0xFFBF0000, 0xFF0000BF, 0xFF000000};
constexpr unsigned int kBarCount = sizeof(kBars) / sizeof(kBars[0]);

// Returns the bar at a point of the panel: `u32Start` and `u32Length` are the piece of a source of `u32Base` that is
// shown.
unsigned int barAt(unsigned int u32At, unsigned int u32Size, HW_U32 u32Start, HW_U32 u32Length, HW_U32 u32Base) {
    if (u32Base == 0) {
        return u32At * kBarCount / u32Size;
    }
    const std::uint64_t u64Point = u32Start + std::uint64_t{u32At} * u32Length / u32Size;
    return static_cast<unsigned int>(std::min<std::uint64_t>(u64Point * kBarCount / u32Base, kBarCount - 1));
}

// Paints vertical bars, and a bright line that moves over them.
void paintVideo(std::uint64_t u64Frame, const HW_DISP_InputRect_t& stPiece, Picture& picture) {
    if (picture.u32Width == 0) {
        return;
    }
    constexpr unsigned int kLine = 16;  // pixels
    constexpr unsigned int kStep = 8;
    constexpr Color kBright = 0xFFFFFFFF;
    std::vector<Color> row(picture.u32Width);
    for (unsigned int u32X = 0; u32X < picture.u32Width; ++u32X) {
        row[u32X] = kBars[barAt(u32X, picture.u32Width, stPiece.u16X, stPiece.u16Width, stPiece.u16BaseWidth)];
    }
    const auto line = static_cast<unsigned int>(u64Frame * kStep % picture.u32Width);
    std::fill_n(row.begin() + line, std::min(kLine, picture.u32Width - line), kBright);
    for (unsigned int u32Y = 0; u32Y < picture.u32Height; ++u32Y) {
        std::copy(row.begin(), row.end(), picture.pixels.begin() + std::ptrdiff_t{u32Y} * picture.u32Width);
    }
}

// Paints horizontal bars, dark ones on top.
void paintInput(const HW_DISP_InputRect_t& stPiece, Picture& picture) {
    for (unsigned int u32Y = 0; u32Y < picture.u32Height; ++u32Y) {
        std::fill_n(picture.pixels.begin() + std::ptrdiff_t{u32Y} * picture.u32Width, picture.u32Width,
                    kBars[kBarCount - 1 -
                          barAt(u32Y, picture.u32Height, stPiece.u16Y, stPiece.u16Height, stPiece.u16BaseHeight)]);
    }
}

}  // namespace

bool paintWindow(const WindowView& stView, Picture& picture) {
    if (stView.muteColor) {
        fill(picture, fromTenBits(stView.muteColor->au32Value));
    } else if (stView.testPattern) {
        paintTestPattern(*stView.testPattern, picture);
    } else if (stView.videoFrame) {
        paintVideo(*stView.videoFrame, stView.piece.value_or(HW_DISP_InputRect_t{}), picture);
    } else if (stView.bInput) {
        paintInput(stView.piece.value_or(HW_DISP_InputRect_t{}), picture);
    } else {
        return false;
    }
    return true;
}

}  // namespace vset
