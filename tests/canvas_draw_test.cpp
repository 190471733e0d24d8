// SPDX-License-Identifier: Apache-2.0
// Drawing into a buffer, compared with the plainest code that does the same byte by byte.
#include "a_vextvfapi_disptst_draw.h"

#include <cstring>
#include <random>
#include <vector>

#include <gmock/gmock.h>

#include "support/emulation.h"

namespace {

constexpr DisptstColor kColor = {0x11, 0x22, 0x33, 0x44};

// A buffer of exactly its size, filled with 0xEE.
struct Buffer {
    Buffer(std::uint32_t u32Width, std::uint32_t u32Height)
        : pitch((u32Width + 15) / 16 * 16),
          bytes(std::size_t{4} * pitch * u32Height, 0xEE),
          canvas{bytes.data(), static_cast<std::uint32_t>(bytes.size()), pitch, u32Width, u32Height} {}

    std::uint32_t pitch;
    std::vector<unsigned char> bytes;
    DisptstCanvas canvas;
};

// All pixels that a fill of that row reaches follow each other from the first one. The last may be cut.
void plainRow(Buffer& buffer, DisptstColor color, std::uint32_t x, std::uint32_t y, std::uint32_t width) {
    const std::uint64_t u64Offset = std::uint32_t{4 * (buffer.pitch * (y + 1) + x - buffer.canvas.u32VisibleWidth)};
    const unsigned char au8Pixel[] = {color.u8Blue, color.u8Green, color.u8Red, color.u8Alpha};
    for (std::uint64_t i = 0; i < std::uint64_t{4} * width && u64Offset + i < buffer.bytes.size(); ++i) {
        buffer.bytes[u64Offset + i] = au8Pixel[i % 4];
    }
}

// The pixel's four bytes where the formula has them, if all have room there.
void plainPixel(Buffer& buffer, std::uint32_t x, std::uint32_t y, DisptstColor color) {
    const std::uint32_t u32Offset = 4 * (buffer.pitch * (y + 1) + x - buffer.canvas.u32VisibleWidth);
    if (std::uint64_t{u32Offset} + 4 <= buffer.bytes.size()) {
        plainRow(buffer, color, x, y, 1);
    }
}

void plainLine(Buffer& buffer, DisptstColor color, std::uint32_t x0, std::uint32_t y0, std::uint32_t x1,
               std::uint32_t y1) {
    color.u8Alpha = 0xFF;
    const std::int64_t dx = static_cast<std::int32_t>(x1 - x0), dy = static_cast<std::int32_t>(y1 - y0);
    const bool bSteep = std::abs(dy) >= std::abs(dx);
    std::uint32_t from = bSteep ? y0 : x0, to = bSteep ? y1 : x1, minor = bSteep ? x0 : y0, end = bSteep ? x1 : y1;
    if (from > to) {
        std::swap(from, to);
        std::swap(minor, end);
    }
    const std::int64_t major = static_cast<std::int32_t>(to - from);
    const std::int64_t across = static_cast<std::int32_t>(end - minor);
    std::int64_t decision = 2 * std::abs(across) - major;
    for (std::uint32_t i = from; i != to; ++i) {
        plainPixel(buffer, bSteep ? minor : i, bSteep ? i : minor, color);
        if (decision > 0) {
            minor += across < 0 ? 0xFFFFFFFF : 1;
            decision -= 2 * major;
        }
        decision += 2 * std::abs(across);
    }
}

TEST(CanvasDraw, APixelLiesWhereTheFormulaHasIt) {
    Buffer buffer(1000, 600);
    _a_vextvfapi_disptst_plot(buffer.canvas, kColor, 3, 2);
    const std::size_t offset = 4 * (1008 * 2 + 3 + 8);
    EXPECT_EQ(buffer.bytes[offset], 0x33);
    EXPECT_EQ(buffer.bytes[offset + 1], 0x22);
    EXPECT_EQ(buffer.bytes[offset + 2], 0x11);
    EXPECT_EQ(buffer.bytes[offset + 3], 0xFF) << "opaque";
    // The last pixels of the last row have no room.
    const std::vector<unsigned char> before = buffer.bytes;
    _a_vextvfapi_disptst_plot(buffer.canvas, kColor, 1000, 599);
    _a_vextvfapi_disptst_plot(buffer.canvas, kColor, 0, 600);
    _a_vextvfapi_disptst_plot(buffer.canvas, kColor, 0xFFFFFFFF, 0xFFFFFFFF);
    // A point is no line, nor are ends in the wrong order.
    _a_vextvfapi_disptst_plot_line(buffer.canvas, kColor, 7, 7, 7, 7);
    _a_vextvfapi_disptst_plot_line_low(buffer.canvas, kColor, 9, 7, 3, 7);
    _a_vextvfapi_disptst_plot_line_high(buffer.canvas, kColor, 3, 7, 3, 2);
    EXPECT_EQ(buffer.bytes, before);
}

TEST(CanvasDraw, EverythingIsAsThePlainCodeHasIt) {
    std::mt19937 random(20261121);
    const auto below = [&](std::uint32_t n) { return static_cast<std::uint32_t>(random() % n); };
    const auto coordinate = [&](std::uint32_t u32Size) -> std::uint32_t {
        switch (random() % 8) {
            case 0:
                return 0u - below(20);
            case 1:
                return u32Size + below(40);
            default:
                return below(u32Size);
        }
    };
    for (int run = 0; run < 4000; ++run) {
        SCOPED_TRACE(run);
        const std::uint32_t u32Width = 1 + below(70), u32Height = 1 + below(20);
        Buffer drawn(u32Width, u32Height), wanted(u32Width, u32Height);
        // A buffer may end inside a pixel.
        drawn.canvas.u32Limit -= below(6);
        drawn.bytes.resize(drawn.canvas.u32Limit);
        drawn.bytes.shrink_to_fit();
        drawn.canvas.pu8Pixels = drawn.bytes.data();
        wanted.bytes.resize(drawn.bytes.size());
        const std::uint32_t x = coordinate(u32Width), y = coordinate(u32Height);
        const std::uint32_t x2 = coordinate(u32Width), y2 = coordinate(u32Height);
        if (run % 3 == 0 && std::max(x, x2) - std::min(x, x2) < 400 && std::max(y, y2) - std::min(y, y2) < 400) {
            _a_vextvfapi_disptst_plot_line(drawn.canvas, kColor, x, y, x2, y2);
            plainLine(wanted, kColor, x, y, x2, y2);
        } else if (run % 3 == 1) {
            const std::uint32_t u32RectWidth = below(90), u32RectHeight = below(25);
            _a_vextvfapi_disptst_fill_rect(drawn.canvas, kColor, x, y, u32RectWidth, u32RectHeight);
            for (std::uint32_t r = 0; r < u32RectHeight; ++r) {
                plainRow(wanted, kColor, x, y + r, u32RectWidth);
            }
        } else {
            const std::uint32_t u32Count = below(80);
            std::vector<unsigned char> source(below(3 * u32Count + 8));
            for (unsigned char& u8Byte : source) {
                u8Byte = static_cast<unsigned char>(random());
            }
            _a_vextvfapi_disptst_blit_row(drawn.canvas, x, y, source.data(), source.size(), u32Count);
            source.resize(std::size_t{3} * u32Count);
            for (std::uint32_t c = 0; c < u32Count; ++c) {
                plainPixel(wanted, x + c, y, {source[3 * c + 2], source[3 * c + 1], source[3 * c], 0xFF});
            }
        }
        ASSERT_EQ(drawn.bytes, wanted.bytes);
    }
}

TEST(CanvasDraw, AFrameLiesInsideItsRectangle) {
    constexpr DisptstColor kBorder = {0xAA, 0xBB, 0xCC, 0x00};
    for (const std::uint32_t u32Border : {0u, 1u, 3u, 5u}) {
        Buffer drawn(64, 32), wanted(64, 32);
        _a_vextvfapi_disptst_plot_rect(drawn.canvas, kColor, 4, 6, 20, 10, kBorder, u32Border);
        for (std::uint32_t y = 6; y < 16; ++y) {
            for (std::uint32_t x = 4; x < 24; ++x) {
                const bool bInside =
                    x >= 4 + u32Border && x < 24 - u32Border && y >= 6 + u32Border && y < 16 - u32Border;
                plainPixel(wanted, x, y, bInside ? kColor : kBorder);
            }
        }
        EXPECT_EQ(drawn.bytes, wanted.bytes) << u32Border;
    }
}

// The span is read as a negative one, so that each step goes along both axes and in the end everywhere. It takes some
// seconds.
TEST(CanvasDraw, TheLongestLineEnds) {
    SKIP_UNDER_EMULATION();
    Buffer drawn(32, 8), wanted(32, 8);
    _a_vextvfapi_disptst_plot_line(drawn.canvas, kColor, 0, 0, 0x80000000, 0x80000000);
    plainRow(wanted, {0x11, 0x22, 0x33, 0xFF}, 0, 0, 32 * 8);
    EXPECT_EQ(drawn.bytes, wanted.bytes);
}

}  // namespace
