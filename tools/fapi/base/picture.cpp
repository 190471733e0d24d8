// SPDX-License-Identifier: Apache-2.0
// Pictures of the set as files, and as characters of a terminal.
#include "base/picture.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>

#include <png.h>

#include "base/durable_file.h"
#include "protocol/color.h"

namespace tool {

namespace {

std::vector<unsigned char> rgbaBytes(const Picture& picture) {
    std::vector<unsigned char> bytes;
    bytes.reserve(picture.pixels.size() * 4);
    for (const Color color : picture.pixels) {
        bytes.insert(bytes.end(), {redOf(color), greenOf(color), blueOf(color), alphaOf(color)});
    }
    return bytes;
}

// A size of characters.
struct Size {
    std::size_t columns;
    std::size_t rows;
};

// As large as both limits allow without distortion: a character is about twice as high as it is wide.
Size previewSize(const Picture& picture, Size limit) {
    const std::size_t width = picture.width, height = picture.height;
    const std::size_t columns =
        std::min({width, limit.columns, std::max<std::size_t>(2 * limit.rows * width / height, 1)});
    const std::size_t rows = std::max<std::size_t>((columns * height / width + 1) / 2, 1);
    return {columns, std::min(rows, limit.rows)};
}

// Red, green and blue of the average pixel of an area.
using Average = std::array<std::uint64_t, 3>;

// Of the place (x, y) in a picture that is made columns x lines large.
Average averageAt(const Picture& picture, std::size_t x, std::size_t y, std::size_t columns, std::size_t lines) {
    const std::size_t left = x * picture.width / columns, top = y * picture.height / lines;
    const std::size_t right = std::max((x + 1) * picture.width / columns, left + 1);
    const std::size_t bottom = std::max((y + 1) * picture.height / lines, top + 1);
    Average sum = {};
    for (std::size_t row = top; row < bottom; ++row) {
        for (std::size_t column = left; column < right; ++column) {
            const Color color = picture.at(static_cast<unsigned int>(column), static_cast<unsigned int>(row));
            sum[0] += redOf(color) * std::uint64_t{alphaOf(color)} / 0xFF;
            sum[1] += greenOf(color) * std::uint64_t{alphaOf(color)} / 0xFF;
            sum[2] += blueOf(color) * std::uint64_t{alphaOf(color)} / 0xFF;
        }
    }
    const std::size_t pixels = (right - left) * (bottom - top);
    return {sum[0] / pixels, sum[1] / pixels, sum[2] / pixels};
}

// "38;2;255;0;0"
std::string parameters(const char* place, const Average& color) {
    return std::string(place) + ";2;" + std::to_string(color[0]) + ";" + std::to_string(color[1]) + ";" +
           std::to_string(color[2]);
}

}  // namespace

static png_image pngOf(const Picture& picture) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = picture.width;
    image.height = picture.height;
    image.format = PNG_FORMAT_RGBA;
    // Of flat areas little more is left with more time.
    image.flags = PNG_IMAGE_FLAG_FAST;
    return image;
}

std::string pngText(const Picture& picture) {
    if (picture.pixels.empty()) {
        throw SetError("there is no picture");
    }
    png_image image = pngOf(picture);
    const auto bytes = rgbaBytes(picture);
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::string text(size, '\0');
    if (png_image_write_to_memory(&image, text.data(), &size, 0, bytes.data(), 0, nullptr) == 0) {
        throw SetError("the picture cannot be written");
    }
    text.resize(size);
    return text;
}

void writePng(const Picture& picture, const std::string& file) {
    if (picture.pixels.empty()) {
        throw SetError(file + ": there is no picture to write");
    }
    png_image image = pngOf(picture);
    std::unique_ptr<FILE, int (*)(FILE*)> stream(std::fopen(file.c_str(), "wb"), std::fclose);
    if (stream == nullptr) {
        throw writeError(file, errno);
    }
    const bool written = png_image_write_to_stdio(&image, stream.get(), 0, rgbaBytes(picture).data(), 0, nullptr) != 0;
    const int error = errno;
    if (std::fclose(stream.release()) != 0 || !written) {
        const int why = written ? errno : error;
        removePartOf(file);
        throw writeError(file, why);
    }
}

std::string previewText(const Picture& picture, std::size_t columns, std::size_t rows) {
    if (picture.pixels.empty()) {
        return "there is no picture\n";
    }
    const Size size = previewSize(picture, {columns, rows});
    std::string text;
    for (std::size_t row = 0; row < size.rows; ++row) {
        std::string before;
        for (std::size_t column = 0; column < size.columns; ++column) {
            const Average upper = averageAt(picture, column, 2 * row, size.columns, 2 * size.rows);
            const Average lower = averageAt(picture, column, 2 * row + 1, size.columns, 2 * size.rows);
            const std::string sequence = "\033[" + parameters("38", upper) + ";" + parameters("48", lower) + "m";
            text += (sequence != before ? sequence : "") + "\u2580";
            before = sequence;
        }
        text += "\033[0m\n";
    }
    return text;
}

}  // namespace tool
