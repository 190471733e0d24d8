// SPDX-License-Identifier: Apache-2.0
// BMP files for tests.
#ifndef TESTS_SUPPORT_BMP_FILE_H
#define TESTS_SUPPORT_BMP_FILE_H

#include <cstdint>
#include <string>

namespace test {

inline void putNumber(std::string& strFile, std::size_t offset, std::uint32_t u32Value, std::size_t bytes = 4) {
    for (std::size_t i = 0; i < bytes; ++i) {
        strFile.at(offset + i) = static_cast<char>(u32Value >> 8 * i);
    }
}

inline std::uint32_t getNumber(const std::string& strFile, std::size_t offset, std::size_t bytes = 4) {
    std::uint32_t u32Value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        u32Value |= std::uint32_t{static_cast<unsigned char>(strFile.at(offset + i))} << 8 * i;
    }
    return u32Value;
}

// The color that bmp24() gives a pixel: red is the column, green the row from the top, blue 0x5A.
inline std::uint32_t bmpPixel(std::uint32_t x, std::uint32_t y) {
    return 0xFF00005A | (x & 0xFF) << 16 | (y & 0xFF) << 8;
}

// 24 bits a pixel, stored from the bottom behind `offset` bytes of headers, rows `u32RowLength` bytes long.
inline std::string bmp24(std::uint32_t u32Width, std::uint32_t u32Height, std::uint32_t u32RowLength,
                         std::uint32_t offset = 54) {
    std::string strFile(offset + std::size_t{u32RowLength} * u32Height, '\0');
    strFile.replace(0, 2, "BM");
    putNumber(strFile, 10, offset);
    putNumber(strFile, 18, u32Width);
    putNumber(strFile, 22, u32Height);
    for (std::uint32_t y = 0; y < u32Height; ++y) {
        for (std::uint32_t x = 0; x < u32Width; ++x) {
            putNumber(strFile, offset + std::size_t{u32RowLength} * (u32Height - 1 - y) + 3 * x, bmpPixel(x, y), 3);
        }
    }
    return strFile;
}

}  // namespace test

#endif
