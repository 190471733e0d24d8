// SPDX-License-Identifier: Apache-2.0
// Pictures of the set, and as files.
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

constexpr Color colorOf(unsigned int red, unsigned int green, unsigned int blue, unsigned int alpha) {
    return alpha << 24 | red << 16 | green << 8 | blue;
}

std::vector<unsigned char> rgbaBytes(const Picture& picture) {
    std::vector<unsigned char> bytes;
    bytes.reserve(picture.pixels.size() * 4);
    for (const Color color : picture.pixels) {
        bytes.insert(bytes.end(), {redOf(color), greenOf(color), blueOf(color), alphaOf(color)});
    }
    return bytes;
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

Picture readPng(const std::string& file) {
    // Of a larger one the terminal would show nothing more.
    constexpr std::size_t kMostPixels = 64 << 20;
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    std::unique_ptr<png_image, void (*)(png_image*)> const freed(&image, png_image_free);
    if (png_image_begin_read_from_file(&image, file.c_str()) == 0) {
        throw SetError(file + ": " + image.message);
    }
    if (std::size_t{image.width} * image.height > kMostPixels) {
        throw SetError(file + ": has more than 64 million pixels");
    }
    image.format = PNG_FORMAT_RGBA;
    std::vector<unsigned char> bytes(std::size_t{image.width} * image.height * 4);
    if (png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr) == 0) {
        throw SetError(file + ": " + image.message);
    }
    Picture picture = {image.width, image.height, {}};
    picture.pixels.reserve(bytes.size() / 4);
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        picture.pixels.push_back(colorOf(bytes[i], bytes[i + 1], bytes[i + 2], bytes[i + 3]));
    }
    return picture;
}

Picture scaledTo(const Picture& picture, unsigned int width, unsigned int height) {
    Picture scaled = {width, height, {}};
    scaled.pixels.reserve(std::size_t{width} * height);
    for (unsigned int y = 0; y < height; ++y) {
        for (unsigned int x = 0; x < width; ++x) {
            const Average color = averageAt(picture, x, y, width, height);
            scaled.pixels.push_back(colorOf(static_cast<unsigned int>(color[0]), static_cast<unsigned int>(color[1]),
                                            static_cast<unsigned int>(color[2]), 0xFF));
        }
    }
    return scaled;
}

Picture sideBySide(const Picture& left, const Picture& right) {
    const unsigned int gap = right.width / 32;
    const std::uint64_t width = std::uint64_t{left.width} * right.height / left.height;
    const Picture first = scaledTo(left, static_cast<unsigned int>(std::max<std::uint64_t>(width, 1)), right.height);
    Picture both = {first.width + gap + right.width, right.height, {}};
    for (unsigned int y = 0; y < right.height; ++y) {
        const auto row = [y](const Picture& of) { return of.pixels.begin() + std::ptrdiff_t{y} * of.width; };
        both.pixels.insert(both.pixels.end(), row(first), row(first) + first.width);
        both.pixels.insert(both.pixels.end(), gap, colorOf(0, 0, 0, 0xFF));
        both.pixels.insert(both.pixels.end(), row(right), row(right) + right.width);
    }
    return both;
}

}  // namespace tool
