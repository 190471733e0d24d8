// SPDX-License-Identifier: Apache-2.0
// Any file as a picture, anywhere on any canvas: either nothing is drawn, or exactly the pixels of the destination that
// the buffer has room for.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include "a_vextvfapi_disptst_bitmap.h"

namespace {

constexpr unsigned char kUntouched = 0xEE;
constexpr std::uint32_t kPixelSize = 4;

// An input begins with two bytes that say which numbers are wild and one byte for each number; the rest is the file.
constexpr std::size_t kNumbers = 10;
constexpr std::size_t kSettingsSize = 2 + kNumbers;

class Settings {
public:
    explicit Settings(const std::uint8_t* pu8Data) : _pu8Data(pu8Data) {}

    std::uint32_t small() { return _pu8Data[2 + _index++]; }

    // Mostly small. Wild ones wrap in sums, are negative, or wrap when they count three bytes each.
    std::uint32_t any() {
        const bool bWild = ((_pu8Data[_index / 8] >> _index % 8) & 1) != 0;
        const std::uint32_t u32Value = small();
        constexpr std::uint32_t kFrom[] = {0xFFFFFF00, 0x80000000, 0x55555500, 0x3FFFFF80};
        return bWild ? kFrom[u32Value % 4] + u32Value : u32Value;
    }

private:
    const std::uint8_t* const _pu8Data;
    std::size_t _index = 0;
};

void require(bool bTrue) {
    if (!bTrue) {
        std::abort();
    }
}

// A file without a name, which is opened by path nevertheless.
const std::string& makeFile(const std::uint8_t* pu8Data, std::size_t size) {
    static const int s32Fd = memfd_create("picture", MFD_CLOEXEC);
    static const std::string strPath = "/proc/self/fd/" + std::to_string(s32Fd);
    require(ftruncate(s32Fd, 0) == 0 && pwrite(s32Fd, pu8Data, size, 0) == static_cast<ssize_t>(size));
    return strPath;
}

}  // namespace

// Rows of gigabytes, which are not touched, cost the sanitizer seconds: there is no memory for them here.
extern "C" const char* __asan_default_options() {
    return "max_allocation_size_mb=64:allocator_may_return_null=1";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pu8Data, std::size_t size) {
    if (size < kSettingsSize) {
        return 0;
    }
    Settings settings(pu8Data);
    DisptstCanvas canvas = {};
    canvas.u32PitchPixels = settings.any();
    canvas.u32VisibleWidth = settings.any();
    canvas.u32BufferHeight = settings.any();
    const std::uint32_t x = settings.any(), y = settings.any(), u32CropX = settings.any(), u32CropY = settings.any();
    const std::uint32_t u32Width = settings.small(), u32Height = settings.small() % 64;
    // The buffer is as large as a sensible canvas, or shorter; its end need not be that of a pixel.
    const std::uint32_t u32Shorter = settings.small();
    const std::uint32_t u32Bytes = kPixelSize * (canvas.u32PitchPixels & 0xFF) * (canvas.u32BufferHeight & 0xFF);
    std::vector<unsigned char> pixels(u32Bytes - std::min(u32Bytes, u32Shorter), kUntouched);
    canvas.pu8Pixels = pixels.data();
    canvas.u32Limit = static_cast<std::uint32_t>(pixels.size());

    const std::string& strPath = makeFile(pu8Data + kSettingsSize, size - kSettingsSize);
    const bool bDrawn = _load_bitmap_to_buffer(canvas, reinterpret_cast<const unsigned char*>(strPath.c_str()), x, y,
                                               u32CropX, u32CropY, u32Width, u32Height);
    // Pixels of one picture may meet at one place, so all are checked before the first is cleared.
    const auto forEachPixel = [&](auto&& look) {
        for (std::uint32_t i = 0; bDrawn && i < u32Width * u32Height; ++i) {
            const std::size_t offset = canvas.offset(x + i % u32Width, y + i / u32Width);
            if (offset + kPixelSize <= pixels.size()) {
                look(&pixels[offset]);
            }
        }
    };
    forEachPixel([](const unsigned char* pu8Pixel) { require(pu8Pixel[3] == 0xFF); });
    forEachPixel([](unsigned char* pu8Pixel) { std::memset(pu8Pixel, kUntouched, kPixelSize); });
    require(std::all_of(pixels.begin(), pixels.end(), [](unsigned char u8Byte) { return u8Byte == kUntouched; }));
    return 0;
}
