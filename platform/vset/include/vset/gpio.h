// SPDX-License-Identifier: Apache-2.0
// The control API of the set's pads. All functions throw SetError when no set is attached or a number is out of range.
#ifndef VSET_GPIO_H
#define VSET_GPIO_H

#include "vset/vset.h"

namespace vset::gpio {

constexpr unsigned int kPads = 256;

// Switching on makes every pad an input at 0 that is not inverted.
struct Pad {
    bool bOpen = false;         // in the middleware
    bool bPlayer = false;       // the set's player has it, not the library
    bool bOutput = false;       // the program drives it
    bool bInverted = false;     // the board inverts it
    bool bBroken = false;       // its reads fail
    unsigned char u8Wired = 0;  // what the board drives
    unsigned char u8Level = 0;  // what a read gives: what the program drives for an output, else what is wired
    std::uint64_t u64Reads = 0;
};
VSET_API Pad pad(unsigned int u32Pad);

// Drives a pad with the board's level, 0 or 1. A pad that the program drives keeps the program's level.
VSET_API void drive(unsigned int u32Pad, unsigned char u8Level);

// Gives these levels to the next reads of the pad, one after the other; the last one stays.
VSET_API void play(unsigned int u32Pad, const std::vector<unsigned char>& levels);

// Sets whether the board inverts the pad: each read reports the inversion, and the level as wired.
VSET_API void setInverted(unsigned int u32Pad, bool bInverted);

// Makes the reads of a pad fail, or work again.
VSET_API void setBroken(unsigned int u32Pad, bool bBroken);

// Opens a pad for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold(unsigned int u32Pad);
VSET_API void release(unsigned int u32Pad);

}  // namespace vset::gpio

#endif
