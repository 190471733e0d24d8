// SPDX-License-Identifier: Apache-2.0
// The control API of the on-screen graphics. All functions throw SetError when no set is attached or when there is
// nothing of what is asked for.
#ifndef VSET_OSD_H
#define VSET_OSD_H

#include <optional>

#include "hw3/hw_osd.h"
#include "vset/picture.h"
#include "vset/vset.h"

namespace vset::osd {

constexpr unsigned int kLayers = 4;

struct Rectangle {
    std::uint32_t u32X = 0, u32Y = 0, u32Width = 0, u32Height = 0;
};

struct Window {
    std::uint32_t u32Handle = 0;
    Rectangle rectangle;  // on the layer, in pixels of its source
    // So many pixels of the surface, from its upper left, fill the rectangle. Nothing is shown where it has fewer.
    std::uint32_t u32SrcWidth = 0, u32SrcHeight = 0;
    bool bShown = false;
    std::uint32_t u32ZOrder = 0;   // the higher is drawn over the lower
    std::uint32_t u32Surface = 0;  // handle of the surface that it shows; 0: none
};

struct Layer {
    std::uint32_t u32Handle = 0;
    bool bPlayer = false;                             // the set's player has made it, not the library
    Rectangle rectangle;                              // on the panel
    std::uint32_t u32SrcWidth = 0, u32SrcHeight = 0;  // so many pixels of the layer fill the rectangle
    bool bShown = false;
    // The matrix that was sent last. While it is enabled it acts on the layer's colors: hue 0 to 100 turns them by -180
    // to 180 degrees; saturation and contrast 0 to 100 multiply by 0 to 2, about gray of the same brightness and about
    // middle gray; brightness 0 to 100 adds -255 to 255; with 50 these four change nothing. Then the gains 0 to 2047
    // multiply each color, by 1 with 1024. A value above its range counts as the highest one.
    std::optional<HW_OSD_ColorMatrix_t> colorMatrix;
    std::vector<Window> windows;  // as they were made
};

// Returns the layer of that number (0 to 3), or nothing when there is none. After switching on the player has layers 0
// and 1 with a window each, both shown; the first shows a transparent surface of the panel's size.
VSET_API std::optional<Layer> layer(unsigned int u32Layer);

// Takes the player's layer away, with its windows: the library finds it no more. A power cycle restores it.
VSET_API void removeLayer(unsigned int u32Layer);

struct Surface {
    std::uint32_t u32Handle = 0;
    std::uint32_t u32Width = 0, u32Height = 0, u32Pitch = 0;  // pixels, pixels, bytes
    std::uint32_t u32ColorFormat = 0;                         // HW_OSD_ColorFormat_e
    bool bPhysical = false;                                   // whether the address is a physical one
    std::uint64_t u64Address = 0;
    unsigned int u32Locks = 0;
};
VSET_API std::vector<Surface> surfaces();

// Returns the pixels of a surface, as they are stored. Throws SetError when its memory is gone.
VSET_API Picture surfacePicture(std::uint32_t u32Handle);

// Sets the alignment that surfaces must have and the capabilities report; powers of two, 64 after switching on.
VSET_API void setSurfaceAlignment(std::uint32_t u32Address, std::uint32_t u32Pitch);

}  // namespace vset::osd

#endif
