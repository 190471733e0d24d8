// SPDX-License-Identifier: Apache-2.0
// The test canvas on the set's panel: its memory, its layer, and what is drawn on it.
#include <gmock/gmock.h>

#include "a_vextvfapi_disptst.h"
#include "hw3/hw_sys.h"
#include "support/bmp_file.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/osd.h"
#include "vset/panel.h"
#include "vset/sys.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using fapi_core::VexTvFApiGOPPatternColor_t;

constexpr VexTvFApiGOPPatternColor_t kRed = {0xFF, 0, 0, 0xFF};
constexpr std::uint32_t kRedPixel = 0xFFFF0000;
constexpr unsigned int kRegion = E_HW_SYS_MMAP_ID_FACTORY_CANVAS;

int drawRect(unsigned int x, unsigned int y, unsigned int width, unsigned int height,
             VexTvFApiGOPPatternColor_t color = kRed) {
    return a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect({x, y, width, height, color, 0, {}});
}

class Canvas : public test::LibraryTest {
protected:
    Canvas() : LibraryTest(a_vextvfapi_disptst_init) {}

    void SetUp() override {
        LibraryTest::SetUp();
        _surfaces = vset::osd::surfaces().size();
    }

    // The module keeps its layer's handle until a canvas is taken away.
    void TearDown() override {
        vset::clearFaults();
        a_vextvfapi_disptst_gen_gop_test_pattern_off();
        a_vextvfapi_disptst_gen_gop_test_pattern_on(16, 16);
        a_vextvfapi_disptst_gen_gop_test_pattern_off();
        LibraryTest::TearDown();
    }

    // The surface that the library has made; empty without one.
    std::optional<vset::osd::Surface> surface() const {
        const std::vector<vset::osd::Surface> all = vset::osd::surfaces();
        return all.size() > _surfaces ? std::optional(all.back()) : std::nullopt;
    }
    vset::Picture canvas() const { return vset::osd::surfacePicture(surface().value().u32Handle); }

    // What is held of the set's memory: 0 of the IOMMU, else a region.
    std::vector<std::uint32_t> memory() const {
        std::vector<std::uint32_t> ids;
        for (const vset::sys::MemoryArea& area : vset::sys::memoryMap()) {
            if (area.bAddressable && area.u32MmapId != E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF) {
                ids.push_back(area.u32MmapId);
            }
        }
        return ids;
    }

    void expectNothingLeft() const {
        EXPECT_FALSE(surface().has_value());
        EXPECT_THAT(memory(), IsEmpty());
        EXPECT_TRUE(vset::osd::layer(0) && vset::osd::layer(0)->bPlayer);
        EXPECT_FALSE(vset::osd::layer(2).has_value());
    }

private:
    std::size_t _surfaces = 0;
};

TEST_F(Canvas, IsSeenOnThePanel) {
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(1280, 720), 0);
    EXPECT_FALSE(vset::osd::layer(1)->bShown) << "showing is another operation's";
    EXPECT_EQ(vset::osd::layer(1)->windows.at(0).u32Surface, surface()->u32Handle);
    EXPECT_EQ(drawRect(0, 0, 1280, 720), 0);
    EXPECT_NE(vset::panel::look().at(100, 100), kRedPixel);
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_show(), 0);
    EXPECT_EQ(vset::panel::look().at(100, 100), kRedPixel);
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_draw_line({0, 360, 1280, 360, {0, 0xFF, 0, 0}}), 0);
    EXPECT_EQ(canvas().at(640, 360), 0xFF00FF00) << "lines are opaque, and drawing is seen at once";
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_hide(), 0);
    EXPECT_NE(vset::panel::look().at(100, 100), kRedPixel);
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0);
    expectNothingLeft();
    EXPECT_TRUE(vset::osd::layer(1).has_value()) << "it was only borrowed";
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_show(), -1);
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_hide(), -1);
}

TEST_F(Canvas, RectanglesKeepTheirAlphaAndHaveTheirFrameInside) {
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(64, 32), 0);
    const VexTvFApiGOPPatternColor_t fill = {1, 2, 3, 0}, border = {4, 5, 6, 0x80};
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect({10, 8, 20, 10, fill, 2, border}), 0);
    const vset::Picture picture = canvas();
    EXPECT_EQ(picture.at(9, 8), 0u);
    EXPECT_EQ(picture.at(10, 8), 0x80040506u);
    EXPECT_EQ(picture.at(29, 17), 0x80040506u);
    EXPECT_EQ(picture.at(12, 10), 0x00010203u);
    EXPECT_EQ(picture.at(27, 15), 0x00010203u);
    EXPECT_EQ(picture.at(28, 15), 0x80040506u);
    EXPECT_EQ(picture.at(30, 8), 0u);
}

TEST_F(Canvas, SizesAreCutAndRowsShifted) {
    refuses("HW_OS_AllocateIommuMemory");
    refuses("HW_OSD_SurfaceCreate");
    struct Row {
        unsigned int u32Width, u32Height, u32SurfaceWidth, u32SurfaceHeight, u32Shift;
    };
    const Row rows[] = {{1920, 1080, 1280, 720, 0},
                        {1000, 600, 1008, 600, 8},
                        {1, 1, 16, 1, 15},
                        {0xFFFFFFFF, 65535, 1280, 720, 0},
                        {17, 721, 32, 720, 15}};
    for (const Row& stRow : rows) {
        ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(stRow.u32Width, stRow.u32Height), 0);
        EXPECT_EQ(surface()->u32Width, stRow.u32SurfaceWidth);
        EXPECT_EQ(surface()->u32Height, stRow.u32SurfaceHeight);
        EXPECT_EQ(surface()->u32Pitch, stRow.u32SurfaceWidth * 4);
        EXPECT_EQ(drawRect(0, 0, 1, 1), 0);
        EXPECT_EQ(canvas().at(stRow.u32Shift, 0), kRedPixel) << stRow.u32Width;
        // Far outside and across the end: the memory's guard pages would tell.
        EXPECT_EQ(drawRect(3, 1, 0xFFFFFFFF, 0xFFFF), 0);
        EXPECT_EQ(drawRect(0xFFFFFFF0, 0xFFFFFFFF, 50, 2000), 0);
        EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_draw_line({0, 0, 70000, 40000, kRed}), 0);
        EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0);
    }
    // Nothing can be shown of these, but their memory is there until it is taken away.
    for (const unsigned int u32Width : {0u, 64u}) {
        EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(u32Width, 0), -1);
        EXPECT_EQ(drawRect(0, 0, 8, 8), 0);
        EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0);
        expectNothingLeft();
    }
}

TEST_F(Canvas, DrawsNothingOutsideAShiftedBuffer) {
    refuses("HW_OSD_SurfaceCreate");
    // Memory begins at a page: an alignment above that leaves less of it than the canvas has.
    vset::osd::setSurfaceAlignment(0x100000, 64);
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(640, 360), 0);
    EXPECT_EQ(drawRect(0, 0, 640, 360), 0);
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_draw_line({0, 0, 640, 360, kRed}), 0);
}

TEST_F(Canvas, ASecondOnKeepsTheFirst) {
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(64, 32), 0);
    const std::uint32_t u32Surface = surface()->u32Handle;
    const std::string strLog = test::logOf([] { a_vextvfapi_disptst_gen_gop_test_pattern_on(640, 320); });
    EXPECT_EQ(strLog,
              "VexTvFApiDisplayTest(imp) [E] <_disptst_get_frame_buffer> [Pattern] Frame Buffer is already allocated."
              "\n\nVexTvFApiDisplayTest(imp) [I] <_disptst_osd_handle_create> [Pattern] OSD handle inited.\n\n");
    EXPECT_EQ(surface()->u32Handle, u32Surface);
    EXPECT_EQ(surface()->u32Width, 64u);
}

TEST_F(Canvas, MakesItsOwnLayerWhenThereIsNone) {
    vset::osd::removeLayer(1);
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(1920, 1080), 0);
    const vset::osd::Layer layer = vset::osd::layer(2).value();
    EXPECT_FALSE(layer.bShown);
    EXPECT_EQ(layer.rectangle.u32X, 320u);
    EXPECT_EQ(layer.rectangle.u32Y, 180u);
    EXPECT_EQ(layer.rectangle.u32Width, 1280u);
    EXPECT_EQ(layer.u32SrcHeight, 720u);
    drawRect(0, 0, 1280, 720);
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_show(), 0);
    const vset::Picture panel = vset::panel::look();
    EXPECT_EQ(panel.at(320, 180), kRedPixel);
    EXPECT_EQ(panel.at(1599, 899), kRedPixel);
    EXPECT_NE(panel.at(319, 180), kRedPixel);
    EXPECT_NE(panel.at(320, 900), kRedPixel);
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0);
    expectNothingLeft();
}

TEST_F(Canvas, FallsBackToTheFixedRegion) {
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(1280, 720), 0);
    EXPECT_THAT(memory(), ElementsAre(0u));
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0);

    vset::sys::setIommuMemory(0);
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(1280, 720), 0);
    EXPECT_THAT(memory(), ElementsAre(kRegion));
    EXPECT_EQ(drawRect(0, 0, 1280, 720), 0);
    EXPECT_EQ(canvas().at(1279, 719), kRedPixel);
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0);
    expectNothingLeft();

    vset::sys::resizeRegion(kRegion, 1280 * 720 * 4 - 0x1000);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(1280, 720), -1); }),
                HasSubstr("[Pattern] Frame buffer size is not enough, buffer size: 0x383000, required size: 0x384000"));
    expectNothingLeft();
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(640, 360), 0) << "a smaller one has room";
}

TEST_F(Canvas, NoRegionAtAllIsTooSmallForNothing) {
    refuses("HW_OS_AllocateIommuMemory");
    refuses("HW_SYS_FreeMmapLayout");
    vset::inject({"HW_SYS_AllocateMmapLayout", 3});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(0, 8), -1); }),
                HasSubstr("[Pattern] Frame buffer size is not enough, buffer size: 0x0, required size: 0x0\n\n"));
}

TEST_F(Canvas, GivesMemoryBackThatCannotBeMapped) {
    vset::inject({"HW_OS_Pa2NonCachedVa", 8});
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(64, 32), 0);
    EXPECT_THAT(memory(), ElementsAre(kRegion));
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0);

    vset::inject({"HW_OS_Pa2NonCachedVa", 8, 1, 2});
    const std::string strLog = test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(64, 32), -1); });
    EXPECT_THAT(strLog, HasSubstr("[Pattern] IOMMU HW_OS_Pa2NonCachedVa failed, code: 8\n\n"));
    EXPECT_THAT(strLog, HasSubstr("[Pattern] MMAP HW_OS_Pa2NonCachedVa failed, code: 8\n\n"));
    EXPECT_THAT(strLog, HasSubstr("Failed to Allocate Memory.\n\n"));
    EXPECT_THAT(strLog, HasSubstr("[Pattern] Frame buffer create failed\n\n"));
    expectNothingLeft();
}

TEST_F(Canvas, AFailedSetUpCanBeRepeated) {
    struct Row {
        const char* pszCall;
        bool bOwnLayer;
        const char* pszLog;
    };
    const Row rows[] = {
        {"HW_OSD_LayerQueryWindowHandle", false, "[Pattern] HW_OSD_LayerQueryWindowHandle failed ret: 9\n\n"},
        {"HW_OSD_LayerHide", false, "[Pattern] HW_OSD_LayerHide failed, code: 9\n\n"},
        {"HW_OSD_SurfaceCreate", false, "[Pattern] HW_OSD_SurfaceCreate failed, code: 9\n\n"},
        {"HW_OSD_WindowFlipByExternSurface", false, "[Pattern] HW_OSD_WindowFlipByExternSurface failed, code: 9\n\n"},
        {"HW_OSD_LayerCreate", true, "[Pattern] HW_OSD_LayerCreate failed ret: 9, _hLayer==NULL? 1\n\n"},
        {"HW_OSD_WindowCreate", true, "[Pattern] HW_OSD_WindowCreate failed, code: 9\n\n"},
        {"HW_OSD_WindowSetZOrder", true, "[Pattern] HW_OSD_WindowSetZOrder failed, code: 9\n\n"},
        {"HW_OSD_SurfaceCreate", true, "[Pattern] HW_OSD_SurfaceCreate failed, code: 9\n\n"},
        {"HW_OSD_WindowFlipByExternSurface", true, "[Pattern] HW_OSD_WindowFlipByExternSurface failed, code: 9\n\n"},
    };
    for (const Row& stRow : rows) {
        vset::powerCycle();
        ASSERT_EQ(a_vextvfapi_disptst_init(), 0);
        if (stRow.bOwnLayer) {
            vset::osd::removeLayer(1);
        }
        vset::inject({stRow.pszCall, 9});
        const std::string strLog =
            test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(64, 32), -1); });
        EXPECT_THAT(strLog, HasSubstr(stRow.pszLog));
        EXPECT_THAT(strLog, HasSubstr("[Pattern] OSD Handle create failed\n\n"));
        EXPECT_FALSE(surface().has_value()) << stRow.pszCall;
        EXPECT_FALSE(vset::osd::layer(2).has_value()) << stRow.pszCall;
        EXPECT_THAT(memory(), ElementsAre(0u)) << "memory stays";
        EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_show(), -1);
        EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(64, 32), 0) << stRow.pszCall;
        EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0);
        expectNothingLeft();
    }
}

TEST_F(Canvas, OffFreesTheMemoryWhateverHappens) {
    for (const char* pszCall : {"HW_OSD_LayerDestroy", "HW_OSD_SurfaceDestroy"}) {
        vset::powerCycle();
        ASSERT_EQ(a_vextvfapi_disptst_init(), 0);
        vset::osd::removeLayer(1);
        ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(64, 32), 0);
        a_vextvfapi_disptst_gen_gop_test_pattern_show();
        vset::inject({pszCall, 3});
        EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), -1);
        EXPECT_THAT(memory(), IsEmpty());
        EXPECT_THAT(vset::panel::look().pixels, SizeIs(1920 * 1080)) << "the panel shows what is left";
        EXPECT_EQ(drawRect(0, 0, 8, 8), -1);
        EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0) << pszCall;
        expectNothingLeft();
    }
    const std::string strLog = test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0); });
    EXPECT_THAT(strLog, HasSubstr("[E] <_disptst_osd_handle_destroy> [Pattern] There's no pattern setup.\n\n"));
    EXPECT_THAT(strLog, HasSubstr("[E] <_disptst_free_frame_buffer> [Pattern] Frame Buffer is not allocated.\n\n"));
}

TEST_F(Canvas, WithoutOneOnlyTheLineSucceeds) {
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_draw_line({0, 0, 5, 5, kRed}), 0);
    EXPECT_EQ(drawRect(0, 0, 5, 5), -1);
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap({0, 0, "/data/a.bmp", 0, 0, 1, 1}), -1);
}

TEST_F(Canvas, ShowsAPictureOfTheSet) {
    write("/data/picture.bmp", test::bmp24(64, 32, 192));
    const auto* pu8File = reinterpret_cast<const unsigned char*>("/data/picture.bmp");
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp(pu8File, 64, 32), 0);
    EXPECT_TRUE(vset::osd::layer(1)->bShown);
    EXPECT_EQ(canvas().at(63, 0), test::bmpPixel(63, 0));
    EXPECT_EQ(canvas().at(0, 31), test::bmpPixel(0, 31));
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap({8, 4, "/data/picture.bmp", 20, 10, 3, 2}), 0);
    EXPECT_EQ(canvas().at(8, 4), test::bmpPixel(20, 10));
    EXPECT_EQ(canvas().at(10, 5), test::bmpPixel(22, 11));
    EXPECT_EQ(canvas().at(11, 5), test::bmpPixel(11, 5));
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap({8, 4, "/data/none.bmp", 0, 0, 3, 2}), 0);

    // A picture that cannot be drawn leaves the canvas up, and hidden.
    const std::string strLog =
        test::logOf([&] { EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp(pu8File, 1281, 32), -1); });
    EXPECT_THAT(strLog, HasSubstr("[Pattern] Load BMP to buffer failed\n\n"));
    EXPECT_FALSE(vset::osd::layer(1)->bShown);
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp(nullptr, 64, 32), -1);
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_show(), 0);
    vset::inject({"HW_OSD_LayerShow", 3});
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp(pu8File, 64, 32), -1);
}

TEST_F(Canvas, ColorMatrixGoesToTheCanvasOrToTheGraphics) {
    const fapi_core::VexTvFApiGOPPatternAttr_t attr = {true, 1, 2, 3, 4, 5, 6, 7};
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(64, 32), 0);
    ASSERT_EQ(a_vextvfapi_disptst_gop_pattern_set_attr(attr), 0);
    EXPECT_FALSE(vset::osd::layer(0)->colorMatrix.has_value());
    const HW_OSD_ColorMatrix_t stMatrix = vset::osd::layer(1)->colorMatrix.value();
    EXPECT_EQ(stMatrix.u8Enable, 1);
    EXPECT_THAT((std::vector<int>{stMatrix.u16Hue, stMatrix.u16Saturation, stMatrix.u16Contrast, stMatrix.u16Brightness,
                                  stMatrix.u16RedGain, stMatrix.u16GreenGain, stMatrix.u16BlueGain}),
                ElementsAre(1, 2, 3, 4, 5, 6, 7));
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0);

    ASSERT_EQ(a_vextvfapi_disptst_gop_pattern_set_attr(attr), 0);
    EXPECT_EQ(vset::osd::layer(0)->colorMatrix->u16Hue, 1);
    // The graphics' layer is the module's own from now on.
    vset::clearJournal();
    EXPECT_EQ(a_vextvfapi_disptst_gop_pattern_set_attr(attr), 0);
    EXPECT_THAT(calls(), ElementsAre("HW_OSD_LayerSetColorMatrix"));
    vset::inject({"HW_OSD_LayerSetColorMatrix", 3});
    EXPECT_EQ(a_vextvfapi_disptst_gop_pattern_set_attr(attr), -1);
}

TEST_F(Canvas, ColorMatrixNeedsALayer) {
    vset::osd::removeLayer(0);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_gop_pattern_set_attr({}), -1); }),
                HasSubstr("[Pattern] Get OSD_Layer_0 Failed\n\n"));
}

}  // namespace
