// SPDX-License-Identifier: Apache-2.0
// Captures into BMP files: what is in them, and what a failed one leaves.
#include <iterator>
#include <set>

#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "hw3/hw_osd.h"
#include "hw3/hw_sys.h"
#include "support/bmp_file.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "support/osd_fixture.h"
#include "vset/cap.h"
#include "vset/disp.h"
#include "vset/osd.h"
#include "vset/panel.h"
#include "vset/sys.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr unsigned int kRegion = E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF;
constexpr const char* kPath = "/mnt/usb/screen.bmp";

const unsigned char* path(const char* pszPath = kPath) {
    return reinterpret_cast<const unsigned char*>(pszPath);
}

class Capture : public test::DisplayTest {
protected:
    void SetUp() override {
        DisplayTest::SetUp();
        vset::disp::freezeVideo(7);
        write("/mnt/usb/readme.txt", "a stick");
        vset::clearJournal();
    }

    // The player's surface on layer 0.
    static HW_Handle_t graphics() { return vset::osd::layer(0)->windows.at(0).u32Surface; }
    static HW_U32* graphicsPixels() {
        HW_U64 u64Virt = 0, u64Phys = 0;
        EXPECT_EQ(HW_OSD_SurfaceLock(graphics(), &u64Virt, &u64Phys), HW_OK);
        EXPECT_EQ(HW_OSD_SurfaceUnlock(graphics()), HW_OK);
        return reinterpret_cast<HW_U32*>(u64Virt);
    }

    // A pixel of the file, which lies there from the bottom, with a pitch of four times the width.
    static std::uint32_t pixel(const std::string& strFile, std::uint32_t x, std::uint32_t y) {
        const std::size_t width = test::getNumber(strFile, 18, 2), height = test::getNumber(strFile, 22, 2);
        return test::getNumber(strFile, 54 + 4 * (width * (height - 1 - y) + x));
    }

    static int capture(int s32Type) { return a_vextvfapi_disp_capture_screen_to_usb(path(), s32Type); }
};

TEST_F(Capture, WritesRowsFromTheBottom) {
    // A pitch above the width, and numbers that show every byte.
    const unsigned int rows[3][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}};
    const auto u64Address = static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(rows));
    ASSERT_EQ(_a_vextvfapi_output_bmp_file(path(), u64Address, 16, 0x10203, 3), 0);
    const unsigned char header[54] = {'B', 'M', 102, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0, 40, 0, 0, 0,
                                      3,   2,   0,   0, 3, 0, 0, 0, 1, 0, 32, 0, 0, 0, 0,  0, 48};
    std::string strWanted(std::begin(header), std::end(header));
    for (const std::size_t row : {2u, 1u, 0u}) {
        strWanted.append(reinterpret_cast<const char*>(rows[row]), sizeof(rows[row]));
    }
    EXPECT_EQ(read(kPath), strWanted);
    EXPECT_EQ(_a_vextvfapi_output_bmp_file(path(), u64Address, 16, 4, 0), 0);
    EXPECT_EQ(read(kPath).size(), 54u) << "no rows at all";
}

TEST_F(Capture, SizesHaveFourBytesAndNeedAFileAndPixels) {
    const unsigned int au32Row[2] = {};
    const auto u64Address = static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(au32Row));
    vset::inject({"HW_FS_Fwrite", -1, 2});  // there are no such pixels
    EXPECT_EQ(_a_vextvfapi_output_bmp_file(path(), u64Address, 0x12345678, 2, 1), 0);
    EXPECT_EQ(test::getNumber(read(kPath), 2), 0x12345678u + 54);
    EXPECT_EQ(test::getNumber(read(kPath), 34), 0x12345678u);
    EXPECT_EQ(_a_vextvfapi_output_bmp_file(path("/mnt/none/screen.bmp"), u64Address, 8, 2, 1), 255);
    EXPECT_EQ(_a_vextvfapi_output_bmp_file(nullptr, u64Address, 8, 2, 1), 255);
    vset::clearJournal();
    EXPECT_EQ(_a_vextvfapi_output_bmp_file(path(), 0, 8, 2, 1), 255);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Capture, GraphicsOfAnyWidth) {
    refuses("HW_OSD_WindowGetSurface");
    refuses("HW_OSD_GetLayerHandle");
    vset::osd::setSurfaceAlignment(4, 4);
    // The file's rows have a width of 16 bits.
    for (const auto& [u32Width, u32FileWidth] : {std::pair{1366u, 1366u}, {70000u, 4464u}}) {
        std::vector<HW_U32> pixels(u32Width * 3, 0xFF00FF00);
        const HW_OSD_SurfaceAttr_t stAttr = test::surfaceOver(pixels, u32Width);
        HW_Handle_t hSurface = 0;
        ASSERT_EQ(HW_OSD_SurfaceCreate(&stAttr, &hSurface), HW_OK);
        ASSERT_EQ(HW_OSD_WindowFlipByExternSurface(vset::osd::layer(1)->windows.at(0).u32Handle, hSurface), HW_OK);
        ASSERT_EQ(_a_vextvfapi_disp_capture_osd_to_usb(path(), 1), 0);
        EXPECT_EQ(read(kPath).size(), 54u + u32FileWidth * 4 * 3);
        EXPECT_EQ(test::getNumber(read(kPath), 18), u32FileWidth);
        EXPECT_EQ(HW_OSD_SurfaceDestroy(hSurface), HW_OK);
    }
    for (const int s32Layer : {1, 3, -1}) {
        EXPECT_EQ(_a_vextvfapi_disp_capture_osd_to_usb(path(), s32Layer), -1) << "nothing is shown there";
    }
}

TEST_F(Capture, TakesGraphicsPictureOrBoth) {
    HW_U32* const pu32Pixels = graphicsPixels();
    pu32Pixels[1920 * 100 + 50] = 0xFF123456;
    pu32Pixels[1920 * 1080 - 1] = 0x00667788;
    const std::size_t before = vset::openHandles().size();
    const vset::Picture video = vset::disp::picture(0);
    for (const int s32Type : {0, 1, 2}) {
        ASSERT_EQ(capture(s32Type), 0);
        const std::string strFile = read(kPath);
        ASSERT_EQ(strFile.size(), 8294454u);
        EXPECT_EQ(pixel(strFile, 50, 100), s32Type == 1 ? video.at(50, 100) : 0xFF123456u);
        EXPECT_EQ(pixel(strFile, 51, 100), s32Type == 0 ? 0 : video.at(51, 100));
        EXPECT_EQ(pixel(strFile, 1919, 1079), s32Type == 0 ? 0x00667788 : video.at(1919, 1079));
    }
    EXPECT_EQ(_a_vextvfapi_disp_capture_video_to_usb(path(), 2), 0);
    EXPECT_FALSE(vset::cap::unit().bWithOsd) << "a 1 alone is a yes";
    EXPECT_EQ(vset::openHandles().size(), before);
    EXPECT_EQ(vset::osd::surfaces().at(0).u32Locks, 0u);
    vset::clearJournal();
    EXPECT_EQ(capture(3), -1);
    EXPECT_EQ(capture(-1), -1);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Capture, AWindowThatItOpensStaysOpen) {
    leavesOpen("HW_DISP");
    a_vextvfapi_disp_switch_window(1);
    ASSERT_EQ(capture(1), 0);
    EXPECT_EQ(pixel(read(kPath), 9, 9), 0xFF000000u) << "nothing is connected";
    // It is closed as if it were the display output, which is refused and does not count.
    EXPECT_EQ(count("HW_DISPOUT_Close"), 1u);
    EXPECT_TRUE(vset::disp::window(1).bOpen);
    EXPECT_EQ(capture(1), 0);
    EXPECT_EQ(count("HW_DISP_Open"), 1u);
    EXPECT_EQ(count("HW_DISPOUT_Close"), 1u) << "found, and so not closed";
    a_vextvfapi_disp_switch_window(3);
    EXPECT_EQ(capture(1), -1);
}

TEST_F(Capture, LiesAtTheEndOfItsRegion) {
    leavesOpen("HW_OSD_SURFACE");
    vset::sys::resizeRegion(kRegion, 0xFD2000 - 0x1000);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(capture(1), -1); }), HasSubstr("with id = 347, len=16584704\n\n"));
    vset::sys::resizeRegion(kRegion, 0xFD2000);
    EXPECT_EQ(capture(1), 0);
    vset::sys::resizeRegion(kRegion, 0xFD2000 + 0x3000);
    vset::inject({"HW_CAP_Open", 3});
    EXPECT_EQ(capture(1), -1);
    HW_SYS_MmapInfo_t stRegion = {};
    ASSERT_EQ(HW_SYS_GetMmapLayout(kRegion, &stRegion), HW_OK);
    EXPECT_EQ(vset::osd::surfaces().back().u64Address, stRegion.u64MiuBase + stRegion.u64Offset + 0x3000);
    EXPECT_EQ(vset::osd::surfaces().back().u32ColorFormat, E_HW_OSD_COLOR_CAPTURE);
}

}  // namespace
