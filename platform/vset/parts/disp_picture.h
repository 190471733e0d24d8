// SPDX-License-Identifier: Apache-2.0
// The picture of a display window.
#ifndef VSET_DISP_PICTURE_H
#define VSET_DISP_PICTURE_H

#include <optional>

#include "hw3/hw_disp.h"
#include "vset/picture.h"

namespace vset {

// All that the picture depends on. The first member that has a value is shown.
struct WindowView {
    std::optional<HW_DISP_MuteColor_t> muteColor;
    std::optional<HW_DISP_TestPattern_t> testPattern;
    std::optional<std::uint64_t> videoFrame;
    bool bInput = false;
    // The piece of a source that fills the picture; without a value the whole source does.
    std::optional<HW_DISP_InputRect_t> piece;
};

// Paints the whole picture. Returns false, with the picture untouched, when there is nothing to show.
bool paintWindow(const WindowView& stView, Picture& picture);

}  // namespace vset

#endif
