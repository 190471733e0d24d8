// SPDX-License-Identifier: Apache-2.0
// Drawing into a buffer of 32-bit pixels.
#include "a_vextvfapi_disptst_draw.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

namespace {

constexpr std::uint32_t kPixelSize = 4;
constexpr unsigned char kOpaque = 0xFF;

}  // namespace

// Returns a pixel as it is stored on a little-endian chip.
static constexpr std::uint32_t pixelOf(DisptstColor color, unsigned char u8Alpha) {
    return std::uint32_t{color.u8Blue} | std::uint32_t{color.u8Green} << 8 | std::uint32_t{color.u8Red} << 16 |
           std::uint32_t{u8Alpha} << 24;
}

static bool holds(const DisptstCanvas& canvas, std::uint32_t u32Offset) {
    return std::uint64_t{u32Offset} + kPixelSize <= canvas.u32Limit;
}

static void put(const DisptstCanvas& canvas, std::uint32_t u32Offset, std::uint32_t u32Pixel) {
    if (holds(canvas, u32Offset)) {
        std::memcpy(canvas.pu8Pixels + u32Offset, &u32Pixel, sizeof(u32Pixel));
    }
}

// Returns the difference of two coordinates, which is a signed number of 32 bits.
static std::int64_t span(std::uint32_t from, std::uint32_t to) {
    return static_cast<std::int32_t>(to - from);
}

// Draws along one axis upwards from `u32Offset`, with `minorSteps` of the other axis on the way. Steps of an axis are
// bytes. A tie does not step the minor axis, and the far end is not drawn.
static void walk(const DisptstCanvas& canvas, std::uint32_t u32Pixel, std::uint32_t u32Offset, std::uint32_t u32Count,
                 std::int64_t s64Major, std::int64_t s64Minor, std::uint32_t u32MajorStep, std::uint32_t u32MinorStep) {
    if (s64Major < 0) {
        // Contract: more than 2^31 steps are a negative span, and each of them steps the minor axis, too.
        u32MajorStep += u32MinorStep;
        s64Major = 0;
        s64Minor = 0;
    }
    std::int64_t s64Decision = 2 * s64Minor - s64Major;
    for (; u32Count != 0; --u32Count) {
        put(canvas, u32Offset, u32Pixel);
        if (s64Decision > 0) {
            u32Offset += u32MinorStep;
            s64Decision -= 2 * s64Major;
        }
        s64Decision += 2 * s64Minor;
        u32Offset += u32MajorStep;
    }
}

static std::int64_t magnitude(std::int64_t s64Value) {
    return s64Value < 0 ? -s64Value : s64Value;
}

// Returns `u32Step` in the direction of the span; negative steps wrap modulo 2^32.
static std::uint32_t stepOf(std::int64_t s64Span, std::uint32_t u32Step) {
    return s64Span < 0 ? 0 - u32Step : u32Step;
}

// Row offsets repeat modulo 2^32 after this many rows, so drawing more of them would change nothing. A canvas of no
// pitch has no pixels.
static std::uint32_t rowsUntilRepeat(const DisptstCanvas& canvas) {
    const std::uint32_t u32PowerOfTwo = canvas.u32PitchPixels & (0 - canvas.u32PitchPixels);
    return std::max(1u, (1u << 30) / u32PowerOfTwo);
}

// Fills bytes with equal pixels, of which the last may be cut. wmemset() stores as wide as the processor can.
static void fillRow(unsigned char* pu8Row, std::uint32_t u32Pixel, std::uint64_t u64Bytes) {
    static_assert(sizeof(wchar_t) == kPixelSize);
    std::wmemset(reinterpret_cast<wchar_t*>(pu8Row), static_cast<wchar_t>(u32Pixel), u64Bytes / kPixelSize);
    if (const std::uint64_t u64Part = u64Bytes % kPixelSize; u64Part != 0) {
        std::memcpy(pu8Row + u64Bytes - u64Part, &u32Pixel, u64Part);
    }
}

void _a_vextvfapi_disptst_plot(const DisptstCanvas& canvas, DisptstColor color, std::uint32_t x, std::uint32_t y) {
    put(canvas, canvas.offset(x, y), pixelOf(color, kOpaque));
}

// --- Lines -----------------------------------------------------------------------------------------------------------

void _a_vextvfapi_disptst_plot_line_low(const DisptstCanvas& canvas, DisptstColor color, std::uint32_t x0,
                                        std::uint32_t y0, std::uint32_t x1, std::uint32_t y1) {
    if (x1 <= x0) {
        return;
    }
    walk(canvas, pixelOf(color, kOpaque), canvas.offset(x0, y0), x1 - x0, span(x0, x1), magnitude(span(y0, y1)),
         kPixelSize, stepOf(span(y0, y1), kPixelSize * canvas.u32PitchPixels));
}

void _a_vextvfapi_disptst_plot_line_high(const DisptstCanvas& canvas, DisptstColor color, std::uint32_t x0,
                                         std::uint32_t y0, std::uint32_t x1, std::uint32_t y1) {
    if (y1 <= y0) {
        return;
    }
    walk(canvas, pixelOf(color, kOpaque), canvas.offset(x0, y0), y1 - y0, span(y0, y1), magnitude(span(x0, x1)),
         kPixelSize * canvas.u32PitchPixels, stepOf(span(x0, x1), kPixelSize));
}

void _a_vextvfapi_disptst_plot_line(const DisptstCanvas& canvas, DisptstColor color, std::uint32_t x0, std::uint32_t y0,
                                    std::uint32_t x1, std::uint32_t y1) {
    // A line of 45 degrees counts as steep.
    if (magnitude(span(y0, y1)) >= magnitude(span(x0, x1))) {
        if (y0 > y1) {
            _a_vextvfapi_disptst_plot_line_high(canvas, color, x1, y1, x0, y0);
        } else {
            _a_vextvfapi_disptst_plot_line_high(canvas, color, x0, y0, x1, y1);
        }
    } else if (x0 > x1) {
        _a_vextvfapi_disptst_plot_line_low(canvas, color, x1, y1, x0, y0);
    } else {
        _a_vextvfapi_disptst_plot_line_low(canvas, color, x0, y0, x1, y1);
    }
}

// --- Rectangles ------------------------------------------------------------------------------------------------------

void _a_vextvfapi_disptst_fill_rect(const DisptstCanvas& canvas, DisptstColor color, std::uint32_t x, std::uint32_t y,
                                    std::uint32_t width, std::uint32_t height) {
    if (canvas.u32Limit == 0) {
        return;
    }
    const std::uint32_t u32Pixel = pixelOf(color, color.u8Alpha);
    // A copy, because the compiler must assume that writing pixels changes the canvas's description.
    const DisptstCanvas target = canvas;
    const std::uint32_t u32Rows = std::min(height, rowsUntilRepeat(canvas));
    std::uint32_t u32Offset = canvas.offset(x, y);
    for (std::uint32_t r = 0; r < u32Rows; ++r, u32Offset += kPixelSize * target.u32PitchPixels) {
        if (u32Offset < target.u32Limit) {
            const std::uint64_t u64Bytes =
                std::min<std::uint64_t>(std::uint64_t{kPixelSize} * width, target.u32Limit - u32Offset);
            fillRow(target.pu8Pixels + u32Offset, u32Pixel, u64Bytes);
        }
    }
}

void _a_vextvfapi_disptst_plot_rect(const DisptstCanvas& canvas, DisptstColor fill, std::uint32_t x, std::uint32_t y,
                                    std::uint32_t width, std::uint32_t height, DisptstColor border,
                                    std::uint32_t borderWidth) {
    _a_vextvfapi_disptst_fill_rect(canvas, fill, x, y, width, height);
    if (borderWidth == 0) {
        return;
    }
    _a_vextvfapi_disptst_fill_rect(canvas, border, x, y, width, borderWidth);
    _a_vextvfapi_disptst_fill_rect(canvas, border, x, y, borderWidth, height);
    _a_vextvfapi_disptst_fill_rect(canvas, border, x + width - borderWidth, y, borderWidth, height);
    _a_vextvfapi_disptst_fill_rect(canvas, border, x, y + height - borderWidth, width, borderWidth);
}

// --- Pictures --------------------------------------------------------------------------------------------------------

namespace {

constexpr std::uint32_t kSourcePixelSize = 3;
constexpr std::uint64_t kLowColor = 0x0000000000FFFFFF;
constexpr std::uint64_t kHighColor = 0x00FFFFFF00000000;
constexpr std::uint64_t kBothAlphas = 0xFF000000FF000000;

// Two words of two pixels each. GCC and Clang compute both words at once on every processor.
using Words = std::uint64_t __attribute__((vector_size(16)));

}  // namespace

static std::uint64_t load64(const unsigned char* pu8Source) {
    std::uint64_t u64Word;
    std::memcpy(&u64Word, pu8Source, sizeof(u64Word));
    return u64Word;
}

// Converts four pixels at a time while a fifth follows, because a word reads two bytes beyond its two pixels.
static void convert(unsigned char* pu8Target, const unsigned char* pu8Source, std::uint32_t u32Count) {
    for (; u32Count > 4; u32Count -= 4, pu8Source += 12, pu8Target += 16) {
        Words pixels = {load64(pu8Source), load64(pu8Source + 6)};
        pixels = (pixels & kLowColor) | (pixels << 8 & kHighColor) | kBothAlphas;
        std::memcpy(pu8Target, &pixels, sizeof(pixels));
    }
    for (; u32Count != 0; --u32Count, pu8Source += kSourcePixelSize, pu8Target += kPixelSize) {
        const DisptstColor color = {pu8Source[2], pu8Source[1], pu8Source[0], kOpaque};
        const std::uint32_t u32Pixel = pixelOf(color, kOpaque);
        std::memcpy(pu8Target, &u32Pixel, sizeof(u32Pixel));
    }
}

void _a_vextvfapi_disptst_blit_row(const DisptstCanvas& canvas, std::uint32_t x, std::uint32_t y,
                                   const unsigned char* pu8Source, std::uint64_t sourceSize, std::uint32_t count) {
    const std::uint32_t u32Offset = canvas.offset(x, y);
    const std::uint64_t u64End = u32Offset + std::uint64_t{kPixelSize} * count;
    if (u64End <= canvas.u32Limit && std::uint64_t{kSourcePixelSize} * count <= sourceSize) {
        convert(canvas.pu8Pixels + u32Offset, pu8Source, count);
        return;
    }
    for (std::uint64_t c = 0; c < count; ++c) {
        const auto u32At = static_cast<std::uint32_t>(u32Offset + kPixelSize * c);
        if (!holds(canvas, u32At)) {
            // Skip to the address at which the offset wraps.
            c += (0xFFFFFFFF - u32At) / kPixelSize;
            continue;
        }
        const std::uint64_t u64Source = std::uint64_t{kSourcePixelSize} * c;
        const auto byte = [&](std::uint64_t i) {
            return u64Source + i < sourceSize ? pu8Source[u64Source + i] : static_cast<unsigned char>(0);
        };
        put(canvas, u32At, pixelOf({byte(2), byte(1), byte(0), kOpaque}, kOpaque));
    }
}
