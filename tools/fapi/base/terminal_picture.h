// SPDX-License-Identifier: Apache-2.0
// Pictures on a terminal: as pixels where it can show them, as half blocks everywhere else.
#ifndef FAPI_BENCH_BASE_TERMINAL_PICTURE_H
#define FAPI_BENCH_BASE_TERMINAL_PICTURE_H

#include <string>

#include "base/picture.h"

namespace tool {

enum class PictureForm {
    blocks,  // characters in color
    kitty,   // PNG in pieces, the protocol of the terminal of that name
    sixel    // pixels of at most 256 colors
};
// What $FAPI_PICTURES says, else what the terminal can show, as the environment describes it.
PictureForm pictureForm();

// The room on a terminal, and how many pixels a character of it has.
struct TerminalRoom {
    std::size_t columns = 80, rows = 24;
    unsigned int cellWidth = 8, cellHeight = 16;
};
// As large as the room allows, without distortion, and never larger than the picture is. Ends with a newline.
std::string terminalPicture(const Picture& picture, const TerminalRoom& room, PictureForm form);
// On dataOutput(), with that many of its lines left free.
std::string terminalPicture(const Picture& picture, std::size_t freeRows);

// The picture in lines of at most `columns` half blocks, two pixels each, and at most `rows` lines; what is transparent
// counts as black. Ends with a newline.
std::string previewText(const Picture& picture, std::size_t columns, std::size_t rows);

}  // namespace tool

#endif
