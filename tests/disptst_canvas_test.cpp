// SPDX-License-Identifier: Apache-2.0
// The test canvas on the set's panel: its memory, its layer, and what is drawn on it.
#include <cstring>

#include <dlfcn.h>
#include <gmock/gmock.h>

#include "a_vextvfapi_disptst.h"
#include "hw3/hw_os.h"
#include "hw3/hw_sys.h"
#include "support/bmp_file.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/osd.h"
#include "vset/panel.h"
#include "vset/sys.h"

static bool g_bRegionAtZero = false;

// Answers as the set's chip does, or with a region at the address 0.
extern "C" HW_Result_t HW_SYS_AllocateMmapLayout(HW_U32 u32Id, HW_SYS_MmapInfo_t* pstInfo) {
    static const auto next = reinterpret_cast<decltype(&HW_SYS_AllocateMmapLayout)>(dlsym(RTLD_NEXT, __func__));
    const HW_Result_t result = next(u32Id, pstInfo);
    if (g_bRegionAtZero) {
        pstInfo->u64MiuBase = pstInfo->u64Offset = 0;
    }
    return result;
}

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

using fapi_core::VexTvFApiGOPPatternColor_t;

constexpr VexTvFApiGOPPatternColor_t kRed = {0xFF, 0, 0, 0xFF};
constexpr std::uint32_t kRedPixel = 0xFFFF0000;
constexpr unsigned int kRegion = E_HW_SYS_MMAP_ID_FACTORY_CANVAS;

int drawRect(unsigned int x, unsigned int y, unsigned int width, unsigned int height,
             VexTvFApiGOPPatternColor_t color = kRed) {
    return a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect({x, y, width, height, color, 0, {}});
}

constexpr auto on = a_vextvfapi_disptst_gen_gop_test_pattern_on;
constexpr auto off = a_vextvfapi_disptst_gen_gop_test_pattern_off;
constexpr auto show = a_vextvfapi_disptst_gen_gop_test_pattern_show;
int drawLine(unsigned int x, unsigned int y, unsigned int x2, unsigned int y2) {
    return a_vextvfapi_disptst_gen_gop_test_pattern_draw_line({x, y, x2, y2, {0, 0xFF, 0, 0}});
}

class Canvas : public test::LibraryTest {
protected:
    Canvas() : LibraryTest(a_vextvfapi_disptst_init) {}

    // The module keeps its layer's handle until a canvas is taken away.
    void TearDown() override {
        vset::clearFaults();
        off();
        on(16, 16);
        off();
        LibraryTest::TearDown();
    }

    // The surface that the library has made after the player's; empty without one.
    static std::optional<vset::osd::Surface> surface() {
        const std::vector<vset::osd::Surface> all = vset::osd::surfaces();
        return all.size() > 1 ? std::optional(all.back()) : std::nullopt;
    }
    static vset::Picture canvas() { return vset::osd::surfacePicture(surface().value().u32Handle); }

    // What is held of the set's memory: 0 of the IOMMU, else a region.
    static std::vector<std::uint32_t> memory() {
        std::vector<std::uint32_t> ids;
        for (const vset::sys::MemoryArea& area : vset::sys::memoryMap()) {
            if (area.bAddressable && area.u32MmapId != E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF) {
                ids.push_back(area.u32MmapId);
            }
        }
        return ids;
    }

    // The physical address of the canvas's memory.
    static HW_U64 iommuAddress() { return vset::sys::memoryMap().back().u64Start; }

    static void expectNothingLeft() {
        EXPECT_FALSE(surface().has_value());
        EXPECT_THAT(memory(), IsEmpty());
        EXPECT_TRUE(vset::osd::layer(0) && vset::osd::layer(0)->bPlayer);
        EXPECT_FALSE(vset::osd::layer(2).has_value());
    }
};

TEST_F(Canvas, IsSeenOnThePanel) {
    ASSERT_EQ(on(1280, 720), 0);
    EXPECT_EQ(drawRect(0, 0, 1280, 720), 0);
    EXPECT_NE(vset::panel::look().at(100, 100), kRedPixel) << "showing is another operation's";
    EXPECT_EQ(show(), 0);
    EXPECT_EQ(vset::panel::look().at(100, 100), kRedPixel);
    EXPECT_EQ(drawLine(0, 360, 1280, 360), 0);
    EXPECT_EQ(canvas().at(640, 360), 0xFF00FF00) << "lines are opaque, and drawing is seen at once";
    const std::uint32_t u32Surface = surface()->u32Handle;
    EXPECT_EQ(on(640, 320), 0);
    EXPECT_EQ(surface()->u32Handle, u32Surface) << "a second one keeps the first";
    EXPECT_EQ(off(), 0);
    expectNothingLeft();
    EXPECT_TRUE(vset::osd::layer(1).has_value()) << "it was only borrowed";
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_hide(), -1);
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap({0, 0, "/data/a.bmp", 0, 0, 1, 1}), -1);
}

TEST_F(Canvas, SizesAreCutAndRowsShifted) {
    refuses("HW_OS_AllocateIommuMemory");
    refuses("HW_OSD_SurfaceCreate");
    const struct {
        unsigned int u32Width, u32Height, u32SurfaceWidth, u32SurfaceHeight, u32Shift;
    } rows[] = {{1920, 1080, 1280, 720, 0},
                {1000, 600, 1008, 600, 8},
                {1, 1, 16, 1, 15},
                {0xFFFFFFFF, 65535, 1280, 720, 0},
                {17, 721, 32, 720, 15}};
    for (const auto& row : rows) {
        ASSERT_EQ(on(row.u32Width, row.u32Height), 0);
        EXPECT_EQ(surface()->u32Width, row.u32SurfaceWidth);
        EXPECT_EQ(surface()->u32Height, row.u32SurfaceHeight);
        EXPECT_EQ(surface()->u32Pitch, row.u32SurfaceWidth * 4);
        EXPECT_EQ(drawRect(0, 0, 1, 1), 0);
        EXPECT_EQ(canvas().at(row.u32Shift, 0), kRedPixel) << row.u32Width;
        // Far outside and across the end: the memory's guard pages would tell.
        EXPECT_EQ(drawRect(3, 1, 0xFFFFFFFF, 0xFFFF), 0);
        EXPECT_EQ(drawRect(0xFFFFFFF0, 0xFFFFFFFF, 50, 2000), 0);
        EXPECT_EQ(drawLine(0, 0, 70000, 40000), 0);
        EXPECT_EQ(off(), 0);
    }
    // Nothing can be shown of these, but their memory is there until it is taken away.
    for (const unsigned int u32Width : {0u, 64u}) {
        EXPECT_EQ(on(u32Width, 0), -1);
        EXPECT_EQ(drawRect(0, 0, 8, 8), 0);
        EXPECT_EQ(off(), 0);
        expectNothingLeft();
    }
    // Rows begin where the chip can read them; a chip that does not say so reads them everywhere.
    vset::osd::setSurfaceAlignment(64, 256);
    EXPECT_EQ(on(100, 50), 0);
    EXPECT_EQ(surface()->u32Pitch, 512u);
    EXPECT_EQ(off(), 0);
    vset::osd::setSurfaceAlignment(1, 1);
    vset::inject({"HW_OSD_SurfaceQueryCapability", 3, 1, 2});
    EXPECT_EQ(on(100, 50), 0);
    EXPECT_EQ(surface()->u32Pitch, 448u);
}

TEST_F(Canvas, BeginsAtAnAlignedAddressAndEndsWithItsMemory) {
    // Memory begins at a page: an alignment above that leaves less of it than the canvas has.
    constexpr HW_U64 kAlignment = 0x200000;
    vset::osd::setSurfaceAlignment(kAlignment, 64);
    ASSERT_EQ(on(1280, 720), 0);
    EXPECT_EQ(drawRect(0, 0, 1280, 720), 0);
    HW_U64 u64Virt = 0;
    ASSERT_EQ(HW_OS_Pa2NonCachedVa(iommuAddress(), &u64Virt), HW_OK);
    const HW_U64 u64Shift = (kAlignment - u64Virt % kAlignment) % kAlignment;
    const auto* const pu32Memory = reinterpret_cast<const std::uint32_t*>(u64Virt);
    const std::size_t shift = u64Shift / 4, size = 1280 * 720;
    EXPECT_EQ(std::count(pu32Memory, pu32Memory + shift, 0u), static_cast<long>(shift));
    EXPECT_EQ(std::count(pu32Memory + shift, pu32Memory + size, kRedPixel), static_cast<long>(size - shift));
    EXPECT_EQ(off(), 0);
    // There may be nothing of it left, and the chip cannot show it there.
    refuses("HW_OSD_SurfaceCreate");
    EXPECT_EQ(on(16, 16), -1);
    EXPECT_EQ(drawRect(0, 0, 16, 16), 0);
    vset::osd::setSurfaceAlignment(64, 64);
}

TEST_F(Canvas, MakesItsOwnLayerWhenThereIsNone) {
    vset::osd::removeLayer(1);
    ASSERT_EQ(on(1920, 1080), 0);
    const vset::osd::Layer layer = vset::osd::layer(2).value();
    EXPECT_FALSE(layer.bShown);
    EXPECT_EQ(layer.windows.at(0).u32ZOrder, 0u);
    EXPECT_EQ(count("HW_OSD_WindowSetZOrder"), 1u);
    drawRect(0, 0, 1280, 720);
    EXPECT_EQ(show(), 0);
    const vset::Picture panel = vset::panel::look();
    EXPECT_EQ(panel.at(320, 180), kRedPixel);
    EXPECT_EQ(panel.at(1599, 899), kRedPixel);
    EXPECT_NE(panel.at(319, 180), kRedPixel);
    EXPECT_NE(panel.at(320, 900), kRedPixel);
    EXPECT_EQ(off(), 0);
    expectNothingLeft();
}

TEST_F(Canvas, FallsBackToTheFixedRegion) {
    vset::sys::setIommuMemory(0);
    vset::sys::resizeRegion(kRegion, 1280 * 720 * 4);
    ASSERT_EQ(on(1280, 720), 0);
    EXPECT_THAT(memory(), ElementsAre(kRegion));
    EXPECT_EQ(drawRect(0, 0, 1280, 720), 0);
    EXPECT_EQ(canvas().at(1279, 719), kRedPixel);
    ASSERT_EQ(off(), 0);
    expectNothingLeft();

    vset::sys::resizeRegion(kRegion, 1280 * 720 * 4 - 0x1000);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(on(1280, 720), -1); }), Not(HasSubstr("Failed to Allocate Memory.")));
    expectNothingLeft();
    EXPECT_EQ(on(640, 360), 0) << "a smaller one has room";
    ASSERT_EQ(off(), 0);
    // No region at all is too small for nothing.
    refuses("HW_OS_AllocateIommuMemory");
    refuses("HW_SYS_FreeMmapLayout");
    vset::inject({"HW_SYS_AllocateMmapLayout", 3});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(on(0, 8), -1); }), HasSubstr("[Pattern] HW_SYS_FreeMmapLayout Fail.\n\n"));
    // Memory that the chip does not take back is forgotten.
    ASSERT_EQ(on(16, 16), 0);
    vset::inject({"HW_SYS_FreeMmapLayout", 3});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(off(), 0); }), HasSubstr("[Pattern] HW_SYS_FreeMmapLayout Fail.\n\n"));
    vset::powerCycle();
    ASSERT_EQ(a_vextvfapi_disptst_init(), 0);
}

TEST_F(Canvas, GivesMemoryBackThatItCannotUse) {
    for (const vset::Fault& stFault : {vset::Fault{"HW_OS_Pa2NonCachedVa", 8}, {"HW_OS_AllocateIommuMemory", HW_OK}}) {
        vset::inject(stFault);
        ASSERT_EQ(on(64, 32), 0);
        EXPECT_THAT(memory(), ElementsAre(kRegion)) << "instead of an address that was not given";
        ASSERT_EQ(off(), 0);
    }
    vset::inject({"HW_OS_Pa2NonCachedVa", 8, 1, 2});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(on(64, 32), -1); }),
                ::testing::EndsWith("[Pattern] Frame buffer create failed\n\n"));
    expectNothingLeft();
    vset::inject({"HW_OS_Pa2NonCachedVa", HW_OK});
    EXPECT_EQ(on(64, 32), -1);
    EXPECT_EQ(off(), 0);
    expectNothingLeft();
    g_bRegionAtZero = true;
    vset::sys::setIommuMemory(0);
    vset::inject({"HW_OS_Pa2NonCachedVa", HW_OK});
    EXPECT_EQ(on(64, 32), -1);
    g_bRegionAtZero = false;
    expectNothingLeft();
}

TEST_F(Canvas, AFailedSetUpLeavesTheColorsToALayer) {
    const struct {
        const char* pszCall;
        bool bOwnLayer;
        unsigned int u32Layer;  // that the colors of an absent canvas go to
    } rows[] = {
        {"HW_OSD_LayerCreate", true, 0},
        {"HW_OSD_WindowCreate", true, 0},
        {"HW_OSD_WindowSetZOrder", true, 0},
        {"HW_OSD_WindowFlipByExternSurface", true, 0},
        {"HW_OSD_SurfaceCreate", true, 0},
        {"HW_OSD_LayerQueryWindowHandle", false, 0},
        {"HW_OSD_LayerHide", false, 1},
        {"HW_OSD_SurfaceCreate", false, 0},
        {"HW_OSD_WindowFlipByExternSurface", false, 0},
    };
    for (const auto& row : rows) {
        vset::powerCycle();
        ASSERT_EQ(a_vextvfapi_disptst_init(), 0);
        if (row.bOwnLayer) {
            vset::osd::removeLayer(1);
        }
        vset::inject({row.pszCall, 9});
        EXPECT_EQ(on(64, 32), -1);
        EXPECT_EQ(a_vextvfapi_disptst_gop_pattern_set_attr({}), 0) << row.pszCall;
        EXPECT_TRUE(vset::osd::layer(row.u32Layer)->colorMatrix.has_value()) << row.pszCall;
        EXPECT_EQ(off(), 0);
    }
}

TEST_F(Canvas, ShowsAPictureOfTheSet) {
    write("/data/picture.bmp", test::bmp24(64, 32, 192));
    const auto byBmp = [](const char* pszFile, unsigned int u32Width) {
        const auto* pu8File = reinterpret_cast<const unsigned char*>(pszFile);
        return a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp(pu8File, u32Width, 32);
    };
    ASSERT_EQ(byBmp("/data/picture.bmp", 64), 0);
    EXPECT_TRUE(vset::osd::layer(1)->bShown);
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap({8, 4, "/data/picture.bmp", 20, 10, 3, 2}), 0);
    EXPECT_EQ(canvas().at(10, 5), test::bmpPixel(22, 11));
    EXPECT_EQ(canvas().at(11, 5), test::bmpPixel(11, 5));
    EXPECT_EQ(canvas().at(8, 6), test::bmpPixel(8, 6));
    // A picture that cannot be drawn leaves the canvas up, and hidden.
    EXPECT_EQ(byBmp("/data/picture.bmp", 1281), -1);
    EXPECT_FALSE(vset::osd::layer(1)->bShown);
    EXPECT_EQ(byBmp(nullptr, 64), -1);
    EXPECT_EQ(show(), 0);
}

TEST_F(Canvas, ColorMatrixGoesToTheCanvasOrToTheGraphics) {
    const auto isMatrixOf = [](unsigned int u32Layer, const HW_OSD_ColorMatrix_t& st) {
        return std::memcmp(&*vset::osd::layer(u32Layer)->colorMatrix, &st, sizeof(st)) == 0;
    };
    ASSERT_EQ(on(64, 32), 0);
    ASSERT_EQ(a_vextvfapi_disptst_gop_pattern_set_attr({true, 1, 2, 3, 4, 5, 6, 7}), 0);
    EXPECT_TRUE(isMatrixOf(1, {1, 0, 1, 2, 3, 4, 5, 6, 7, 0}));
    EXPECT_FALSE(vset::osd::layer(0)->colorMatrix.has_value());
    ASSERT_EQ(off(), 0);

    ASSERT_EQ(a_vextvfapi_disptst_gop_pattern_set_attr({false, 8, 0, 0, 0, 0, 0, 9}), 0);
    EXPECT_TRUE(isMatrixOf(0, {0, 0, 8, 0, 0, 0, 0, 0, 9, 0}));
    // The graphics' layer is the module's own from now on.
    vset::clearJournal();
    EXPECT_EQ(a_vextvfapi_disptst_gop_pattern_set_attr({}), 0);
    EXPECT_THAT(calls(), ElementsAre("HW_OSD_LayerSetColorMatrix"));
    on(16, 16);
    off();
    vset::osd::removeLayer(0);
    EXPECT_EQ(a_vextvfapi_disptst_gop_pattern_set_attr({}), -1);
}

}  // namespace
