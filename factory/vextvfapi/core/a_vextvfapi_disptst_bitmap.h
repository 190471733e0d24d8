// SPDX-License-Identifier: Apache-2.0
// Reads 24-bit uncompressed BMP files into a canvas. Like the drawing, it calls no middleware.
#ifndef A_VEXTVFAPI_DISPTST_BITMAP_H
#define A_VEXTVFAPI_DISPTST_BITMAP_H

#include "a_vextvfapi_disptst_draw.h"

// Draws the piece of the picture that begins at (cropX, cropY) of its top left corner to (dstX, dstY). Nothing in the
// file is trusted: false, with a message unless memory is short, when it cannot be drawn. Contract: rows that are
// missing at the end of the file repeat the last row; depth and compression are not checked.
bool _load_bitmap_to_buffer(const DisptstCanvas& canvas, const unsigned char* file, std::uint32_t dstX,
                            std::uint32_t dstY, std::uint32_t cropX, std::uint32_t cropY, std::uint32_t width,
                            std::uint32_t height);

#endif
