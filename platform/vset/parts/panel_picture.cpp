// SPDX-License-Identifier: Apache-2.0
// Composes the panel's picture from the families' pictures.
#include "panel_picture.h"

#include "vset/disp.h"
#include "vset/panel.h"
#include "vset_folder.h"

namespace vset {

Picture blackPicture(unsigned int u32Width, unsigned int u32Height) {
    constexpr std::uint32_t kBlack = 0xFF000000;
    return {u32Width, u32Height, std::vector<std::uint32_t>(std::size_t{u32Width} * u32Height, kBlack)};
}

Picture panel::look() {
    requireSet();
    Picture picture = blackPicture(kWidth, kHeight);
    for (unsigned int u32Window = disp::kWindows; u32Window-- > 0;) {
        paintDisplayWindow(u32Window, picture);
    }
    paintOsd(picture);
    return picture;
}

}  // namespace vset
