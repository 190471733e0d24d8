// SPDX-License-Identifier: Apache-2.0
// BMP files drawn into a buffer: what is drawn, and what is refused.
#include "a_vextvfapi_disptst_bitmap.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "base/fapi_log.h"
#include "support/bmp_file.h"

namespace {

using ::testing::Each;
using ::testing::EndsWith;
using ::testing::HasSubstr;

constexpr std::uint32_t kUntouched = 0xEEEEEEEE;

class Bitmap : public ::testing::Test {
protected:
    void TearDown() override { std::filesystem::remove(strPath); }

    // A canvas of 32 x 16 pixels, of which 30 are visible, filled with 0xEE; then the picture.
    bool load(const std::string& strFile, std::uint32_t dstX, std::uint32_t dstY, std::uint32_t cropX,
              std::uint32_t cropY, std::uint32_t width, std::uint32_t height) {
        std::ofstream(strPath, std::ios::binary) << strFile;
        _pixels.assign(kPitch * kHeight, kUntouched);
        const DisptstCanvas canvas = {reinterpret_cast<unsigned char*>(_pixels.data()),
                                      static_cast<std::uint32_t>(4 * _pixels.size()), kPitch, kPitch - 2, kHeight};
        testing::internal::CaptureStdout();
        u8TvFactoryDebug.store(1);
        const bool bLoaded = _load_bitmap_to_buffer(canvas, reinterpret_cast<const unsigned char*>(strPath.c_str()),
                                                    dstX, dstY, cropX, cropY, width, height);
        u8TvFactoryDebug.store(0);
        std::fflush(stdout);
        strLog = testing::internal::GetCapturedStdout();
        return bLoaded;
    }

    // Rows of the canvas are shifted right by the two pixels that are not visible.
    static std::size_t place(std::uint32_t x, std::uint32_t y) { return y * kPitch + x + 2; }
    std::uint32_t at(std::uint32_t x, std::uint32_t y) const { return _pixels.at(place(x, y)); }
    const std::vector<std::uint32_t>& pixels() const { return _pixels; }

    static constexpr std::uint32_t kPitch = 32, kHeight = 16;
    std::string strLog;
    const std::string strPath = ::testing::TempDir() + "/bitmap-" + std::to_string(getpid()) + ".bmp";

private:
    std::vector<std::uint32_t> _pixels;
};

TEST_F(Bitmap, DrawsAPieceUprightAndOpaque) {
    const struct {
        const char* pszName;
        std::uint32_t u32Width, u32Height, u32RowLength, offset;
        std::uint32_t dstX, dstY, cropX, cropY, width, height;
    } rows[] = {
        {"all of it", 8, 6, 24, 54, 3, 2, 0, 0, 8, 6},
        {"counted from the top left corner", 8, 6, 24, 54, 3, 2, 5, 1, 3, 2},
        {"nothing wide", 8, 6, 24, 54, 0, 0, 5, 1, 0, 2},
        {"the pitch counts, not what is visible", 32, 16, 96, 54, 0, 0, 0, 0, 32, 16},
        {"a longer header", 8, 6, 24, 138, 0, 0, 0, 0, 8, 6},
        {"a header longer than what is read at once", 8, 6, 24, 14 + 12 + 513, 0, 0, 1, 1, 6, 4},
        {"the shortest header", 8, 6, 24, 26, 0, 0, 0, 0, 8, 6},
        // A row is three times the width and that modulo four.
        {"row length 4", 4, 3, 12, 54, 0, 0, 0, 0, 4, 3},
        {"row length 5", 5, 3, 18, 54, 0, 0, 0, 0, 5, 3},
        {"row length 6", 6, 3, 20, 54, 0, 0, 0, 0, 6, 3},
        {"row length 7", 7, 3, 22, 54, 0, 0, 0, 0, 7, 3},
    };
    for (const auto& row : rows) {
        const std::string strFile = test::bmp24(row.u32Width, row.u32Height, row.u32RowLength, row.offset);
        ASSERT_TRUE(load(strFile, row.dstX, row.dstY, row.cropX, row.cropY, row.width, row.height)) << row.pszName;
        EXPECT_EQ(strLog, "") << row.pszName;
        std::vector<std::uint32_t> wanted(pixels().size() + kPitch, kUntouched);
        for (std::uint32_t y = 0; y < row.height; ++y) {
            for (std::uint32_t x = 0; x < row.width; ++x) {
                wanted[place(row.dstX + x, row.dstY + y)] = test::bmpPixel(row.cropX + x, row.cropY + y);
            }
        }
        wanted.resize(pixels().size());
        EXPECT_EQ(pixels(), wanted) << row.pszName;
    }
}

TEST_F(Bitmap, AFileThatEndsEarlyIsDrawnAsFarAsItGoes) {
    std::string strFile = test::bmp24(4, 3, 12);
    strFile.resize(54 + 12 + 6);
    ASSERT_TRUE(load(strFile, 0, 0, 0, 0, 4, 3));
    EXPECT_EQ(at(3, 2), test::bmpPixel(3, 2)) << "the lowest row is whole";
    EXPECT_EQ(at(1, 1), test::bmpPixel(1, 1));
    EXPECT_EQ(at(2, 1), test::bmpPixel(2, 2)) << "what is missing of a row is as it was in the row before";
    EXPECT_EQ(at(0, 0), test::bmpPixel(0, 1));
    EXPECT_THAT(strLog, HasSubstr("[Pattern] Read File size(6) is not equal to buffer size(12).\n\n"));
    EXPECT_THAT(strLog, HasSubstr("[Pattern] Read File size(0) is not equal to buffer size(12).\n\n"));
}

TEST_F(Bitmap, RefusesFilesThatLie) {
    const std::size_t kWhole = 54 + 72;
    const char* const pszSize = "[Pattern] bitmap width or Height is invalid !!!\n\n";
    const struct {
        const char* pszName;
        std::size_t size;  // of the file
        std::size_t offset;
        std::uint32_t u32Value;
        const char* pszLog;
    } rows[] = {
        {"empty", 0, 0, 0, "[Pattern] Read file header size(0) is not equal to buffer size(14).\n\n"},
        {"short", 13, 0, 0, "[Pattern] Read file header size(13) is not equal to buffer size(14).\n\n"},
        {"no B", kWhole, 0, 0x4D41, "[Pattern] Bitmap header type is not 'BM' (41,4d).\n\n"},
        {"no M", kWhole, 0, 0x4C42, "[Pattern] Bitmap header type is not 'BM' (42,4c).\n\n"},
        {"data in the header", kWhole, 10, 13, "[Pattern] Header size(13) is less than file header size(14)\n\n"},
        {"no information header", kWhole, 10, 14, pszSize},
        {"information header without a height", kWhole, 10, 22, pszSize},
        {"data past the end", kWhole, 10, 1000, "Read info header size(112) is not equal to buffer size(986).\n\n"},
        {"header of gigabytes", kWhole, 10, 0xFFFFFFFF, "header size(112) is not equal to buffer size(-15).\n\n"},
        {"cut information header", 20, 10, 54, "Read info header size(6) is not equal to buffer size(40).\n\n"},
        {"width 0", kWhole, 18, 0, pszSize},
        {"height 0", kWhole, 22, 0, pszSize},
        {"too narrow", kWhole, 18, 5, "[Pattern] bitmap is out of panel bound.\n\n"},
        {"too low", kWhole, 22, 3, "[Pattern] bitmap is out of panel bound.\n\n"},
    };
    for (const auto& row : rows) {
        std::string strFile = test::bmp24(6, 4, 18);
        if (row.size > 14) {
            test::putNumber(strFile, row.offset, row.u32Value, row.offset == 0 ? 2 : 4);
        }
        strFile.resize(row.size);
        EXPECT_FALSE(load(strFile, 0, 0, 0, 0, 6, 4)) << row.pszName;
        EXPECT_THAT(strLog, EndsWith(row.pszLog)) << row.pszName;
        EXPECT_THAT(pixels(), Each(kUntouched)) << row.pszName;
    }
}

TEST_F(Bitmap, APipeCannotBeSearched) {
    ASSERT_EQ(mkfifo(strPath.c_str(), 0600), 0);
    const int s32Pipe = open(strPath.c_str(), O_RDWR);
    EXPECT_FALSE(load(test::bmp24(6, 4, 18), 0, 0, 0, 0, 6, 4));
    EXPECT_THAT(strLog, HasSubstr("[Pattern] fseek unexpected error !!\n\n"));
    EXPECT_EQ(strLog.find("fseek"), strLog.rfind("fseek")) << "it ends there";
    close(s32Pipe);
}

TEST_F(Bitmap, NegativeHeightsAndHugePicturesAreJustLarge) {
    std::string strFile = test::bmp24(6, 4, 18);
    test::putNumber(strFile, 22, 0xFFFFFFFC);
    // The rows to skip lead far past the end.
    EXPECT_TRUE(load(strFile, 0, 0, 0, 0, 6, 4));
    EXPECT_EQ(at(0, 0), 0xFF000000) << "what is not in the file is black";
    test::putNumber(strFile, 18, 0xFFFFFFFF);
    test::putNumber(strFile, 22, 0xFFFFFFFF);
    EXPECT_FALSE(load(strFile, 0, 0, 0, 0, 6, 4));
    EXPECT_THAT(strLog, HasSubstr("[Pattern] fseek unexpected error !!\n\n"));
    // In 32 bits a row of this width is 32 bytes long, and the piece lies after it.
    test::putNumber(strFile, 18, 0x55555560);
    test::putNumber(strFile, 22, 4);
    EXPECT_TRUE(load(strFile, 0, 0, 0x55555556, 0, 6, 4));
    EXPECT_EQ(at(5, 3), 0xFF000000);
    test::putNumber(strFile, 18, 0xAAAAAAAA);
    EXPECT_FALSE(load(strFile, 0, 0, 0, 0, 6, 4)) << "a row of no bytes";
    EXPECT_THAT(strLog, HasSubstr("[Pattern] the value of u32BufferLen is zero !!\n\n"));
}

TEST_F(Bitmap, RefusesPiecesOutsideOfThePictureOrTheCanvas) {
    const std::string strFile = test::bmp24(33, 17, 102);
    EXPECT_FALSE(load(strFile, 0, 0, 0, 0, 33, 16));
    EXPECT_THAT(strLog, HasSubstr("[Pattern] Bitmap file size out of frame buffer bound.\n\n"));
    EXPECT_FALSE(load(strFile, 0, 1, 0, 0, 8, 16));
    EXPECT_FALSE(load(strFile, 0, 0, 0xFFFFFFFF, 0, 8, 8)) << "a crop that wraps";
    EXPECT_FALSE(load(strFile, 0, 0, 0, 2, 8, 16));
    EXPECT_THAT(strLog, HasSubstr("[Pattern] bitmap is out of panel bound.\n\n"));
}

TEST_F(Bitmap, NeedsAFile) {
    const DisptstCanvas nowhere = {nullptr, 0, 32, 32, 16};
    EXPECT_FALSE(_load_bitmap_to_buffer(nowhere, nullptr, 0, 0, 0, 0, 1, 1));
    std::uint32_t u32Pixel = kUntouched;
    const DisptstCanvas tiny = {reinterpret_cast<unsigned char*>(&u32Pixel), 4, 1, 1, 1};
    for (const char* pszPath : {static_cast<const char*>(nullptr), "/nowhere/picture.bmp", "/"}) {
        EXPECT_FALSE(_load_bitmap_to_buffer(tiny, reinterpret_cast<const unsigned char*>(pszPath), 0, 0, 0, 0, 1, 1));
    }
    EXPECT_EQ(u32Pixel, kUntouched);
}

}  // namespace
