// SPDX-License-Identifier: Apache-2.0
// Pictures of the set as files, and as characters of a terminal.
#ifndef FAPI_BENCH_BASE_PICTURE_H
#define FAPI_BENCH_BASE_PICTURE_H

#include <string>

#include "vset/picture.h"

namespace tool {

// Writes a PNG file of this PC, with transparency. Throws vset::SetError that names the file: a FileError when the
// picture is good and the PC cannot store it, and there is then no such file.
void writePng(const vset::Picture& picture, const std::string& file);

// The picture in lines of at most `columns` half blocks, two pixels each, and at most `rows` lines; what is transparent
// counts as black. Ends with a newline.
std::string previewText(const vset::Picture& picture, std::size_t columns, std::size_t rows);

}  // namespace tool

#endif
