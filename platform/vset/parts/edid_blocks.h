// SPDX-License-Identifier: Apache-2.0
// The EDIDs of a new set.
#ifndef VSET_EDID_BLOCKS_H
#define VSET_EDID_BLOCKS_H

#include <string>

namespace vset {

// Returns base block and one extension, 256 bytes with right checksums. Versions 0 and 1 are a full-HD set, 2 one that
// takes 4K at 60 Hz, 3 one with high dynamic range in addition. The port is part of the physical address.
std::string boardEdid(unsigned int u32Port, unsigned int u32Version);

}  // namespace vset

#endif
