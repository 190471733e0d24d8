// SPDX-License-Identifier: Apache-2.0
// Reads BMP files into a canvas.
#define FAPI_LOG_TAG "VexTvFApiDisplayTest"
#include "a_vextvfapi_disptst_bitmap.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>

#include <sys/types.h>

#include "base/fapi_byte_order.h"
#include "base/fapi_log.h"
#include "base/fapi_memory.h"

namespace {

struct FileCloser {
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

constexpr std::uint32_t kFileHeaderSize = 14;
constexpr std::uint32_t kInfoHeaderKept = 12;
constexpr std::uint32_t kBytesPerPixel = 3;

// The contents of the headers.
struct Bitmap {
    std::uint32_t u32DataOffset = 0;
    std::uint32_t u32Width = 0;
    std::uint32_t u32Height = 0;

    // Returns the bytes of a row. Contract: three times the width, plus the rest of its division by four, which is
    // right for a rest of 0 or 2 only.
    std::uint32_t rowLength() const {
        const std::uint32_t u32Pixels = kBytesPerPixel * u32Width;
        return u32Pixels + u32Pixels % 4;
    }
};

}  // namespace

static bool readFileHeader(std::FILE* pFile, Bitmap& stBitmap, const char* pszCaller = __builtin_FUNCTION()) {
    unsigned char au8Header[kFileHeaderSize] = {};
    const std::size_t size = std::fread(au8Header, 1, sizeof(au8Header), pFile);
    if (size != sizeof(au8Header)) {
        FAPI_LOGE_AS(pszCaller, "[Pattern] Read file header size(%zd) is not equal to buffer size(%d).\n\n",
                     static_cast<ssize_t>(size), static_cast<int>(sizeof(au8Header)));
        return false;
    }
    if (au8Header[0] != 'B' || au8Header[1] != 'M') {
        FAPI_LOGE_AS(pszCaller, "[Pattern] Bitmap header type is not 'BM' (%x,%x).\n\n", au8Header[0], au8Header[1]);
        return false;
    }
    stBitmap.u32DataOffset = fapi::loadLittleEndian32(au8Header + 10);
    if (stBitmap.u32DataOffset < kFileHeaderSize) {
        FAPI_LOGE_AS(pszCaller, "[Pattern] Header size(%d) is less than file header size(%d)\n\n",
                     static_cast<int>(stBitmap.u32DataOffset), static_cast<int>(kFileHeaderSize));
        return false;
    }
    return true;
}

// Reads in pieces: the file gives the length of this header, and only the first bytes are used.
static bool readInfoHeader(std::FILE* pFile, Bitmap& stBitmap, const char* pszCaller = __builtin_FUNCTION()) {
    unsigned char au8Header[kInfoHeaderKept] = {};
    unsigned char au8Rest[512];
    const std::uint32_t u32Size = stBitmap.u32DataOffset - kFileHeaderSize;
    std::size_t size = std::fread(au8Header, 1, std::min(u32Size, kInfoHeaderKept), pFile);
    while (size >= kInfoHeaderKept && size < u32Size) {
        const std::size_t got = std::fread(au8Rest, 1, std::min<std::size_t>(u32Size - size, sizeof(au8Rest)), pFile);
        if (got == 0) {
            break;
        }
        size += got;
    }
    if (size != u32Size) {
        FAPI_LOGE_AS(pszCaller, "[Pattern] Read info header size(%zd) is not equal to buffer size(%d).\n\n",
                     static_cast<ssize_t>(size), static_cast<int>(u32Size));
        return false;
    }
    // Unsigned: a picture that is stored from the top counts as one of billions of rows.
    stBitmap.u32Width = fapi::loadLittleEndian32(au8Header + 4);
    stBitmap.u32Height = fapi::loadLittleEndian32(au8Header + 8);
    if (stBitmap.u32Width == 0 || stBitmap.u32Height == 0) {
        FAPI_LOGE_AS(pszCaller, "[Pattern] bitmap width or Height is invalid !!!\n\n");
        return false;
    }
    return true;
}

static bool seek(std::FILE* pFile, std::uint64_t u64Offset, int s32From) {
    return u64Offset <= std::uint64_t{std::numeric_limits<off_t>::max()} &&
           fseeko(pFile, static_cast<off_t>(u64Offset), s32From) == 0;
}

// Seeks over the rows below the piece, which come first in the file.
static bool skipRows(std::FILE* pFile, std::uint64_t u64Rows, std::uint32_t u32RowLength) {
    const bool bCountable = u64Rows <= std::numeric_limits<std::uint64_t>::max() / u32RowLength;
    return seek(pFile, bCountable ? u64Rows * u32RowLength : std::numeric_limits<std::uint64_t>::max(), SEEK_CUR);
}

bool _load_bitmap_to_buffer(const DisptstCanvas& canvas, const unsigned char* file, std::uint32_t dstX,
                            std::uint32_t dstY, std::uint32_t cropX, std::uint32_t cropY, std::uint32_t width,
                            std::uint32_t height) {
    if (canvas.pu8Pixels == nullptr) {
        FAPI_LOGE("[Pattern] Frame buffer is not allocated.\n\n");
        return false;
    }
    // Contract: the width is compared with the pitch, not with the visible width.
    if (canvas.u32PitchPixels < width + dstX || canvas.u32BufferHeight < height + dstY) {
        FAPI_LOGE("[Pattern] Bitmap file size out of frame buffer bound.\n\n");
        return false;
    }
    const File source(file != nullptr ? std::fopen(reinterpret_cast<const char*>(file), "rb") : nullptr);
    if (source == nullptr) {
        FAPI_LOGE("[Pattern] File %s not exists.\n\n", fapi::logText(file));
        return false;
    }
    Bitmap stBitmap;
    if (!readFileHeader(source.get(), stBitmap) || !readInfoHeader(source.get(), stBitmap)) {
        return false;
    }
    if (stBitmap.u32Width < std::uint64_t{width} + cropX || stBitmap.u32Height < std::uint64_t{height} + cropY) {
        FAPI_LOGE("[Pattern] bitmap is out of panel bound.\n\n");
        return false;
    }
    if (!seek(source.get(), stBitmap.u32DataOffset, SEEK_SET)) {
        FAPI_LOGE("[Pattern] fseek unexpected error !!\n\n");
        return false;
    }
    const std::uint32_t u32RowLength = stBitmap.rowLength();
    if (u32RowLength == 0) {
        FAPI_LOGE("[Pattern] the value of u32BufferLen is zero !!\n\n");
        return false;
    }
    if (!skipRows(source.get(), stBitmap.u32Height - (std::uint64_t{height} + cropY), u32RowLength)) {
        FAPI_LOGE("[Pattern] fseek unexpected error !!\n\n");
        return false;
    }
    // The header may claim rows of gigabytes: the kernel provides memory on first use.
    const auto row = fapi::allocateZeroes(u32RowLength);
    if (row == nullptr) {
        return false;
    }
    const std::uint64_t u64First = std::min<std::uint64_t>(std::uint64_t{kBytesPerPixel} * cropX, u32RowLength);
    for (std::uint32_t r = 0; r < height; ++r) {
        const std::size_t size = std::fread(row.get(), 1, u32RowLength, source.get());
        if (size != u32RowLength) {
            FAPI_LOGE("[Pattern] Read File size(%zu) is not equal to buffer size(%d).\n\n", size,
                      static_cast<int>(u32RowLength));
        }
        _a_vextvfapi_disptst_blit_row(canvas, dstX, dstY + height - 1 - r, row.get() + u64First,
                                      u32RowLength - u64First, width);
    }
    return true;
}
