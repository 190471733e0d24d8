// SPDX-License-Identifier: Apache-2.0
// Pictures of the set as files, and as characters of a terminal.
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

// The picture in lines of at most `columns` half blocks, two pixels each, and at most `rows` lines; what is transparent
// counts as black. Ends with a newline.
std::string previewText(const Picture& picture, std::size_t columns, std::size_t rows);

}  // namespace tool

#endif
