// SPDX-License-Identifier: Apache-2.0
// Composes the panel's picture from the families that make it: display windows, graphics over them, capture.
#ifndef VSET_PANEL_PICTURE_H
#define VSET_PANEL_PICTURE_H

#include <optional>

#include "hw3/hw_types.h"
#include "vset/picture.h"

namespace vset {

// Returns a picture of opaque black.
Picture blackPicture(unsigned int u32Width, unsigned int u32Height);

// --- hw_disp.cpp -----------------------------------------------------------------------------------------------------

// Returns the number of an open display window.
std::optional<unsigned int> displayWindowOf(HW_Handle_t hDisp);

// Paints a window over the whole picture. Returns false, with the picture untouched, when the window shows nothing: it
// is closed, or neither muted nor with a test pattern nor connected.
bool paintDisplayWindow(unsigned int u32Window, Picture& picture);

// --- hw_osd.cpp ------------------------------------------------------------------------------------------------------

// Blends the shown layers over the picture.
void paintOsd(Picture& picture);

}  // namespace vset

#endif
