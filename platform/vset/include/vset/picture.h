// SPDX-License-Identifier: Apache-2.0
// Pixels of the set, for a person to look at.
#ifndef VSET_PICTURE_H
#define VSET_PICTURE_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vset {

struct Picture {
    unsigned int u32Width = 0;
    unsigned int u32Height = 0;
    std::vector<std::uint32_t> pixels;  // 0xAARRGGBB, rows from the top, without gaps

    std::uint32_t at(unsigned int u32X, unsigned int u32Y) const {
        return pixels.at(std::size_t{u32Y} * u32Width + u32X);
    }
};

}  // namespace vset

#endif
