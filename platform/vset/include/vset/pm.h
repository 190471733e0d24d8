// SPDX-License-Identifier: Apache-2.0
// The person's door to the set's LED ring and real-time clock. All functions throw SetError when no set is attached.
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

// The colors of the ring; dark after switching on.
VSET_API LedRing leds();

struct LedChange {
    std::chrono::steady_clock::time_point time;
    LedRing ring;
};

// The last 1,024 times that the ring was written to since switching on or clearLedHistory(), oldest first.
VSET_API std::vector<LedChange> ledHistory();
VSET_API void clearLedHistory();

// Seconds of the real-time clock. It runs with the host's clock, whose time a new set shows, also while the set is off;
// how far it has been set apart from that is kept in the set's folder.
VSET_API std::uint32_t clock();
VSET_API void setClock(std::uint32_t u32Seconds);

// The set's player opens the power management, and closes it again: the library finds it open meanwhile.
VSET_API void hold();
VSET_API void release();

}  // namespace vset::pm

#endif
