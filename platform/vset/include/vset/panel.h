// SPDX-License-Identifier: Apache-2.0
// The panel as a person sees it. All functions throw SetError when no set is attached.
#ifndef VSET_PANEL_H
#define VSET_PANEL_H

#include "vset/picture.h"
#include "vset/vset.h"

namespace vset::panel {

constexpr unsigned int kWidth = 1920;
constexpr unsigned int kHeight = 1080;

// Returns the display windows, the first in front of the others, then the shown OSD layers, layer 0 lowest. All pixels
// are opaque; where nothing is shown they are black.
VSET_API Picture look();

}  // namespace vset::panel

#endif
