// SPDX-License-Identifier: Apache-2.0
// The control API of the set's LED ring and real-time clock. All functions throw SetError when no set is attached.
#ifndef VSET_PM_H
#define VSET_PM_H

#include <array>

#include "vset/vset.h"

namespace vset::pm {

struct Led {
    unsigned char u8Red = 0;
    unsigned char u8Green = 0;
    unsigned char u8Blue = 0;
};
using LedRing = std::array<Led, 4>;

// Returns the colors of the ring; dark after switching on.
VSET_API LedRing leds();

struct LedChange {
    std::chrono::steady_clock::time_point time;
    LedRing ring;
};

// Returns the last 1,024 writes to the ring since switching on or clearLedHistory(), oldest first.
VSET_API std::vector<LedChange> ledHistory();
VSET_API void clearLedHistory();

// Returns or sets the seconds of the real-time clock. The clock runs with the host's clock, whose time a new set shows,
// also while the set is off; the set's folder keeps the difference from the host's clock.
VSET_API std::uint32_t clock();
VSET_API void setClock(std::uint32_t u32Seconds);

// Opens the power management for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold();
VSET_API void release();

}  // namespace vset::pm

#endif
