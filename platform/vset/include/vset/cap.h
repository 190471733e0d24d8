// SPDX-License-Identifier: Apache-2.0
// The control API of the capture unit. All functions throw SetError when no set is attached.
#ifndef VSET_CAP_H
#define VSET_CAP_H

#include <optional>

#include "vset/picture.h"
#include "vset/vset.h"

namespace vset::cap {

struct Unit {
    bool bOpen = false;                  // in the middleware
    bool bPlayer = false;                // the set's player has it, not the library
    std::optional<unsigned int> window;  // the display window that is connected
    std::uint64_t u64Captures = 0;       // since switching on
    bool bWithOsd = false;               // of the last capture
};
VSET_API Unit unit();

// Returns the picture that was captured last; empty when none was.
VSET_API Picture lastPicture();

// Opens the unit for the set's player, and closes it again: the library cannot open it meanwhile.
VSET_API void hold();
VSET_API void release();

}  // namespace vset::cap

#endif
