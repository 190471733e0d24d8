// SPDX-License-Identifier: Apache-2.0
// Pictures of the set, and as files.
#ifndef FAPI_BENCH_BASE_PICTURE_H
#define FAPI_BENCH_BASE_PICTURE_H

#include <string>
#include <vector>

#include "protocol/color.h"

namespace tool {

struct Picture {
    unsigned int width = 0;
    unsigned int height = 0;
    std::vector<Color> pixels;  // rows from the top, without gaps

    Color at(unsigned int x, unsigned int y) const { return pixels.at(std::size_t{y} * width + x); }
};

// Writes a PNG file of this PC, with transparency. Throws SetError that names the file: a FileError when the
// picture is good and the PC cannot store it, and there is then no such file.
void writePng(const Picture& picture, const std::string& file);
// The bytes of such a file.
std::string pngText(const Picture& picture);

// Reads a PNG file of this PC. Throws SetError that names the file.
Picture readPng(const std::string& file);

// The picture that large, each pixel the average of those that it stands for; what is transparent counts as black.
Picture scaledTo(const Picture& picture, unsigned int width, unsigned int height);
// The two next to each other, with a gap, the left one as high as the right one.
Picture sideBySide(const Picture& left, const Picture& right);

}  // namespace tool

#endif
