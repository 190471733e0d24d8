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
#include "vset/cap.h"
#include "vset/disp.h"
#include "vset/osd.h"
#include "vset/panel.h"
#include "vset/sys.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

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

    // A pixel of the file, which lies there from the bottom.
    static std::uint32_t pixel(const std::string& strFile, std::uint32_t x, std::uint32_t y) {
        const std::size_t pitch = getNumberOfPitch(strFile);
        const std::size_t height = test::getNumber(strFile, 22, 2);
        return test::getNumber(strFile, 54 + pitch * (height - 1 - y) + 4 * x);
    }

private:
    static std::size_t getNumberOfPitch(const std::string& strFile) {
        return test::getNumber(strFile, 34) / test::getNumber(strFile, 22, 2);
    }
};

TEST_F(Capture, WritesRowsFromTheBottom) {
    // A pitch above the width, and numbers that show every byte.
    const unsigned int rows[3][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}};
    const auto u64Address = static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(rows));
    ASSERT_EQ(_a_vextvfapi_output_bmp_file(path(), u64Address, 16, 0x10203, 3), 0);
    const std::string strFile = read(kPath);
    ASSERT_EQ(strFile.size(), 54u + 48);
    EXPECT_EQ(strFile.substr(0, 2), "BM");
    struct Field {
        std::size_t offset, bytes;
        std::uint32_t u32Value;
    };
    for (const Field& stField : {Field{2, 4, 102},
                                 {6, 4, 0},
                                 {10, 4, 54},
                                 {14, 4, 40},
                                 {18, 4, 0x0203},
                                 {22, 4, 3},
                                 {26, 2, 1},
                                 {28, 2, 32},
                                 {30, 4, 0},
                                 {34, 4, 48},
                                 {38, 4, 0},
                                 {42, 4, 0},
                                 {46, 4, 0},
                                 {50, 4, 0}}) {
        EXPECT_EQ(test::getNumber(strFile, stField.offset, stField.bytes), stField.u32Value) << stField.offset;
    }
    EXPECT_EQ(test::getNumber(strFile, 54), 9u);
    EXPECT_EQ(test::getNumber(strFile, 54 + 16 + 12), 8u);
    EXPECT_EQ(test::getNumber(strFile, 54 + 47, 1), 0u);
    EXPECT_THAT(calls(), ElementsAre("HW_FS_Fopen", "HW_FS_Fwrite", "HW_FS_Fwrite", "HW_FS_Fwrite", "HW_FS_Fwrite",
                                     "HW_FS_Fclose", "HW_FS_Sync"));
    EXPECT_EQ(_a_vextvfapi_output_bmp_file(path(), u64Address, 16, 4, 0), 0);
    EXPECT_EQ(read(kPath).size(), 54u) << "no rows at all";
}

TEST_F(Capture, AShortFileIsASuccess) {
    const unsigned int au32Rows[4] = {};
    const auto u64Address = static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(au32Rows));
    struct Row {
        vset::Fault stFault;
        unsigned char u8Status;
        std::size_t size;
        const char* pszLog;
    };
    const Row rows[] = {
        {{"HW_FS_Fwrite", -1, 1}, 0, 0, "HW_FS_Fwrite Error: failed to write file \n\n"},
        {{"HW_FS_Fwrite", -1, 3}, 0, 62, "HW_FS_Fwrite Error: failed to write file \n\n"},
        {{"HW_FS_Fclose", -1}, 255, 70, "HW_FS_Fclose Error\n\n"},
        {{"HW_FS_Sync", -1}, 255, 70, "HW_FS_Sync Error: -1\n\n"},
        {{"HW_FS_Fopen"}, 255, 0, "HW_FS_Fopen Error: failed to open file \n\n"},
    };
    for (const Row& stRow : rows) {
        std::filesystem::remove(vset::hostPath(kPath));
        vset::inject(stRow.stFault);
        const std::string strLog =
            test::logOf([&] { EXPECT_EQ(_a_vextvfapi_output_bmp_file(path(), u64Address, 8, 2, 2), stRow.u8Status); });
        EXPECT_THAT(strLog, HasSubstr(stRow.pszLog));
        EXPECT_EQ(read(kPath).size(), stRow.size) << stRow.pszLog;
        vset::clearFaults();
    }
    EXPECT_EQ(_a_vextvfapi_output_bmp_file(path("/mnt/none/screen.bmp"), u64Address, 8, 2, 2), 255);
    EXPECT_EQ(_a_vextvfapi_output_bmp_file(nullptr, u64Address, 8, 2, 2), 255);
    vset::clearJournal();
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(_a_vextvfapi_output_bmp_file(path(), 0, 8, 2, 2), 255); }),
                HasSubstr("Error: rawDataAddr is NULL\n\n"));
    EXPECT_THAT(calls(), ::testing::Not(::testing::Contains("HW_FS_Fopen")));
}

TEST_F(Capture, TakesTheGraphicsAsTheyLie) {
    HW_U32* const pu32Pixels = graphicsPixels();
    pu32Pixels[0] = 0x11223344;
    pu32Pixels[1920 * 1080 - 1] = 0x55667788;
    ASSERT_EQ(a_vextvfapi_disp_capture_screen_to_usb(path(), 0), 0);
    const std::string strFile = read(kPath);
    ASSERT_EQ(strFile.size(), 54u + 1920 * 4 * 1080);
    EXPECT_EQ(test::getNumber(strFile, 18), 1920u);
    EXPECT_EQ(test::getNumber(strFile, 22), 1080u);
    EXPECT_EQ(pixel(strFile, 0, 0), 0x11223344u);
    EXPECT_EQ(pixel(strFile, 1919, 1079), 0x55667788u);
    EXPECT_EQ(pixel(strFile, 1, 0), 0u);
    EXPECT_EQ(vset::osd::surfaces().at(0).u32Locks, 0u);
}

TEST_F(Capture, GraphicsOfAnyWidth) {
    refuses("HW_OSD_WindowGetSurface");
    refuses("HW_OSD_GetLayerHandle");
    vset::osd::setSurfaceAlignment(4, 4);
    std::vector<HW_U32> pixels(1366 * 3, 0xFF00FF00);
    const HW_OSD_SurfaceAttr_t stAttr = {
        1366, 3, 1366 * 4, E_HW_OSD_COLOR_ARGB8888, 0, E_HW_OSD_MEM_VIRTUAL, reinterpret_cast<HW_U64>(pixels.data()),
        0};
    HW_Handle_t hSurface = 0;
    ASSERT_EQ(HW_OSD_SurfaceCreate(&stAttr, &hSurface), HW_OK);
    ASSERT_EQ(HW_OSD_WindowFlipByExternSurface(vset::osd::layer(1)->windows.at(0).u32Handle, hSurface), HW_OK);
    ASSERT_EQ(_a_vextvfapi_disp_capture_osd_to_usb(path(), 1), 0);
    EXPECT_EQ(read(kPath).size(), 54u + 5464 * 3);
    EXPECT_EQ(HW_OSD_SurfaceDestroy(hSurface), HW_OK);
    EXPECT_EQ(_a_vextvfapi_disp_capture_osd_to_usb(path(), 1), -1) << "nothing is shown there";
    EXPECT_EQ(_a_vextvfapi_disp_capture_osd_to_usb(path(), 3), -1);
    EXPECT_EQ(_a_vextvfapi_disp_capture_osd_to_usb(path(), -1), -1);
}

TEST_F(Capture, TakesThePictureWithOrWithoutTheGraphics) {
    graphicsPixels()[1920 * 100 + 50] = 0xFF123456;
    const std::vector<vset::OpenHandle> before = vset::openHandles();
    ASSERT_EQ(a_vextvfapi_disp_capture_screen_to_usb(path(), 1), 0);
    const std::string strWithout = read(kPath);
    ASSERT_EQ(strWithout.size(), 8294454u);
    EXPECT_EQ(test::getNumber(strWithout, 34), 8294400u);
    const vset::Picture video = vset::disp::picture(0);
    for (const unsigned int x : {0u, 50u, 1000u, 1919u}) {
        EXPECT_EQ(pixel(strWithout, x, 100), video.at(x, 100)) << x;
    }
    EXPECT_EQ(pixel(strWithout, 7, 1079), video.at(7, 1079));
    ASSERT_EQ(a_vextvfapi_disp_capture_screen_to_usb(path(), 2), 0);
    EXPECT_EQ(pixel(read(kPath), 50, 100), 0xFF123456u);
    EXPECT_EQ(pixel(read(kPath), 51, 100), video.at(51, 100));
    EXPECT_EQ(vset::openHandles().size(), before.size());
    EXPECT_FALSE(vset::cap::unit().bOpen);
    for (const int s32Type : {3, -1}) {
        vset::clearJournal();
        EXPECT_EQ(a_vextvfapi_disp_capture_screen_to_usb(path(), s32Type), -1);
        EXPECT_THAT(calls(), IsEmpty());
    }
}

TEST_F(Capture, AWindowThatItOpensStaysOpen) {
    leavesOpen("HW_DISP");
    a_vextvfapi_disp_switch_window(1);
    ASSERT_EQ(a_vextvfapi_disp_capture_screen_to_usb(path(), 1), 0);
    EXPECT_EQ(pixel(read(kPath), 9, 9), 0xFF000000u) << "nothing is connected";
    // It is closed as if it were the display output, which is refused and does not count.
    EXPECT_THAT(calls(), ::testing::Contains("HW_DISPOUT_Close"));
    EXPECT_TRUE(vset::disp::window(1).bOpen);
    vset::clearJournal();
    EXPECT_EQ(a_vextvfapi_disp_capture_screen_to_usb(path(), 1), 0);
    EXPECT_THAT(calls(), ::testing::Not(::testing::Contains("HW_DISP_Open")));
}

TEST_F(Capture, AFailedCaptureLeavesWhatItHasMade) {
    leavesOpen("HW_CAP");
    struct Row {
        int s32Type;
        const char* pszCall;
        int s32Surfaces;  // more than before
        bool bCapture;    // whether the unit stays open
        unsigned int u32Locks;
    };
    const Row rows[] = {
        {0, "HW_OSD_GetLayerHandle", 0, false, 0},
        {0, "HW_OSD_LayerQueryWindowHandle", 0, false, 0},
        {0, "HW_OSD_WindowGetSurface", 0, false, 0},
        {0, "HW_OSD_SurfaceLock", 0, false, 0},
        {0, "HW_OSD_SurfaceGetSize", 0, false, 1},
        {0, "HW_FS_Sync", 0, false, 1},
        {0, "HW_OSD_SurfaceUnlock", 0, false, 1},
        {1, "HW_DISP_GetDispRect", 0, false, 0},
        {1, "HW_SYS_GetMmapLayout", 0, false, 0},
        {1, "HW_OSD_SurfaceCreate", 0, false, 0},
        {1, "HW_OSD_SurfaceLock", 1, false, 0},
        {1, "HW_OSD_SurfaceUnlock", 1, false, 1},
        {1, "HW_CAP_Open", 1, false, 0},
        {1, "HW_CAP_ConnectInput", 1, true, 0},
        {1, "HW_CAP_CaptureOne", 1, true, 0},
        {1, "HW_FS_Sync", 1, true, 0},
        {1, "HW_OSD_SurfaceDestroy", 1, false, 0},
        {1, "HW_CAP_DisconnectInput", 0, false, 0},
        {1, "HW_CAP_Close", 0, true, 0},
    };
    // The place that the last line of each log names: "<operation:123>".
    std::set<std::string> places;
    for (const Row& stRow : rows) {
        vset::powerCycle();
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
        const std::size_t before = vset::osd::surfaces().size();
        vset::inject({stRow.pszCall, 3});
        int s32Status = 0;
        const std::string strLog =
            test::logWithLinesOf([&] { s32Status = a_vextvfapi_disp_capture_screen_to_usb(path(), stRow.s32Type); });
        vset::clearFaults();
        const std::size_t place = strLog.rfind('<');
        places.insert(strLog.substr(place, strLog.find('>', place) - place));
        EXPECT_EQ(s32Status, -1) << stRow.pszCall;
        EXPECT_THAT(strLog,
                    HasSubstr(stRow.pszCall == std::string("HW_FS_Sync") ? "_a_vextvfapi_output_bmp_file Fail."
                              : stRow.pszCall == std::string("HW_SYS_GetMmapLayout")
                                  ? "Invalid mmap layout E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF with id = 347, len="
                              : stRow.s32Type == 0 ? "_a_vextvfapi_disp_capture_osd_to_usb fail! eRet = 3\n\n"
                                                   : "_a_vextvfapi_disp_capture_video_to_usb fail! eRet = 3\n\n"))
            << stRow.pszCall;
        EXPECT_EQ(vset::osd::surfaces().size(), before + static_cast<std::size_t>(stRow.s32Surfaces)) << stRow.pszCall;
        EXPECT_EQ(vset::osd::surfaces().back().u32Locks, stRow.u32Locks) << stRow.pszCall;
        EXPECT_EQ(vset::cap::unit().bOpen, stRow.bCapture) << stRow.pszCall;
    }
    EXPECT_EQ(places.size(), std::size(rows) - 2) << "the line number says which call failed, except for the releases";
    a_vextvfapi_disp_switch_window(3);
    EXPECT_EQ(a_vextvfapi_disp_capture_screen_to_usb(path(), 1), -1);
}

TEST_F(Capture, NeedsRoomInItsRegion) {
    vset::sys::resizeRegion(E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF, 0xFD2000 - 0x1000);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disp_capture_screen_to_usb(path(), 1), -1); }),
                HasSubstr("with id = 347, len=16584704\n\n"));
    vset::sys::resizeRegion(E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF, 0xFD2000);
    EXPECT_EQ(a_vextvfapi_disp_capture_screen_to_usb(path(), 1), 0);
}

}  // namespace
