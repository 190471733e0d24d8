// SPDX-License-Identifier: Apache-2.0
// Paints the pixels of a surface onto a picture: through a window and its layer, with the layer's colors.
#ifndef VSET_OSD_PAINT_H
#define VSET_OSD_PAINT_H

#include "vset/osd.h"

namespace vset {

// Paints a surface's pixels, which have the surface's pitch and any alignment.
void paintSurface(const osd::Layer& stLayer, const osd::Window& stWindow, const osd::Surface& stSurface,
                  const HW_U8* pu8Pixels, Picture& picture);

}  // namespace vset

#endif
