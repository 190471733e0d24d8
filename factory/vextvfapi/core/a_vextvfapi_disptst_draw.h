// SPDX-License-Identifier: Apache-2.0
// Drawing into a buffer of 32-bit pixels (from the lowest address: blue, green, red, alpha). It calls no middleware:
// tests, fuzzers and benchmarks draw into their own memory.
#ifndef A_VEXTVFAPI_DISPTST_DRAW_H
#define A_VEXTVFAPI_DISPTST_DRAW_H

#include <cstdint>

#include "fapi_core.h"

// A buffer to draw into. Pixels outside it are left out. Contract: coordinates beyond a row, or "negative" ones,
// address the pixel that they lead to in 32 bits.
struct DisptstCanvas {
    unsigned char* pu8Pixels;  // aligned to a pixel; only written
    std::uint32_t u32Limit;    // bytes that may be written
    std::uint32_t u32PitchPixels;
    std::uint32_t u32VisibleWidth;
    std::uint32_t u32BufferHeight;

    // Returns the byte offset of a pixel. Contract: with a visible width below the pitch each row begins so many pixels
    // further right.
    std::uint32_t offset(std::uint32_t x, std::uint32_t y) const {
        return 4 * (u32PitchPixels * (y + 1) + x - u32VisibleWidth);
    }
};

using DisptstColor = fapi_core::VexTvFApiGOPPatternColor_t;

// Draws one opaque pixel.
void _a_vextvfapi_disptst_plot(const DisptstCanvas& canvas, DisptstColor color, std::uint32_t x, std::uint32_t y);

// Draw an opaque line without its far end, which is the one with the larger major coordinate. The first two take the
// ends in the order of their major axis, x or y, and draw nothing otherwise.
void _a_vextvfapi_disptst_plot_line_low(const DisptstCanvas& canvas, DisptstColor color, std::uint32_t x0,
                                        std::uint32_t y0, std::uint32_t x1, std::uint32_t y1);
void _a_vextvfapi_disptst_plot_line_high(const DisptstCanvas& canvas, DisptstColor color, std::uint32_t x0,
                                         std::uint32_t y0, std::uint32_t x1, std::uint32_t y1);
void _a_vextvfapi_disptst_plot_line(const DisptstCanvas& canvas, DisptstColor color, std::uint32_t x0, std::uint32_t y0,
                                    std::uint32_t x1, std::uint32_t y1);

// Draw a rectangle with the color's own alpha, without and with a frame, which is inside it.
void _a_vextvfapi_disptst_fill_rect(const DisptstCanvas& canvas, DisptstColor color, std::uint32_t x, std::uint32_t y,
                                    std::uint32_t width, std::uint32_t height);
void _a_vextvfapi_disptst_plot_rect(const DisptstCanvas& canvas, DisptstColor fill, std::uint32_t x, std::uint32_t y,
                                    std::uint32_t width, std::uint32_t height, DisptstColor border,
                                    std::uint32_t borderWidth);

// Draws `count` opaque pixels from (x, y) to the right, converted from 24-bit pixels (blue, green, red). `sourceSize`
// bytes of them exist at `pu8Source`, the rest counts as 0.
void _a_vextvfapi_disptst_blit_row(const DisptstCanvas& canvas, std::uint32_t x, std::uint32_t y,
                                   const unsigned char* pu8Source, std::uint64_t sourceSize, std::uint32_t count);

#endif
