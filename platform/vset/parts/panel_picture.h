// SPDX-License-Identifier: Apache-2.0
// Composes the panel's picture from the families that make it: display windows, graphics over them, capture.
#ifndef VSET_PANEL_PICTURE_H
#define VSET_PANEL_PICTURE_H

#include <optional>

#include "hw3/hw_types.h"
#include "vset/picture.h"

namespace vset {

// A picture of opaque black.
Picture blackPicture(unsigned int u32Width, unsigned int u32Height);

// --- hw_disp.cpp -----------------------------------------------------------------------------------------------------

// The number of an open display window.
std::optional<unsigned int> displayWindowOf(HW_Handle_t hDisp);

// What the window shows, over the whole picture. False, with the picture untouched, when it shows nothing: it is
// closed, or neither muted nor with a test pattern nor connected.
bool paintDisplayWindow(unsigned int u32Window, Picture& picture);

// --- hw_osd.cpp ------------------------------------------------------------------------------------------------------

// The shown layers, blended over the picture.
void paintOsd(Picture& picture);

}  // namespace vset

#endif
