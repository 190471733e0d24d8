// SPDX-License-Identifier: Apache-2.0
// The control API of the set's keypad and ADC channels. All functions throw SetError when no set is attached or a
// number is out of range.
//
// The keypad is a ladder of resistors on channel 0: a pressed key pulls the channel to its threshold. The program gives
// the thresholds and key codes when it opens the keypad. Switching on releases all keys and sets channels to kOpen.
#ifndef VSET_SAR_H
#define VSET_SAR_H

#include "vset/vset.h"

namespace vset::sar {

constexpr unsigned int kChannels = 8;
constexpr unsigned int kKeys = 8;
constexpr unsigned int kKeypadChannel = 0;
constexpr unsigned char kOpen = 0xFF;  // what an unconnected channel reads

// --- Voltages --------------------------------------------------------------------------------------------------------

// Returns or sets the reading of a channel's converter. A voltage on channel 0 is one on the ladder, but no key press:
// the chip reports the keys that press() presses.
VSET_API unsigned char voltage(unsigned int u32Channel);
VSET_API void setVoltage(unsigned int u32Channel, unsigned char u8Value);

// --- Keys ------------------------------------------------------------------------------------------------------------

// Presses key `u32Key` (0 to 7, from the ladder's low end) and releases it. The callback runs on a thread of the
// middleware, one key after the other; press() does not wait for it. A key is dropped and counted when the program has
// not configured it, when no callback is registered, or when 65,536 keys wait.
VSET_API void press(unsigned int u32Key);

// Presses the first key with that code. Throws SetError when the keypad has none.
VSET_API void pressCode(unsigned char u8Code);

struct Key {
    unsigned char u8Threshold;
    unsigned char u8Code;
};

struct Keypad {
    bool bOpen = false;              // the program has configured it
    bool bCallback = false;          // a callback is registered for its keys
    unsigned char u8FirstBound = 0;  // as the program has given them
    unsigned char u8SecondBound = 0;
    std::vector<Key> keys;  // as many as it has levels, eight at most
    std::uint64_t u64Pressed = 0;
    std::uint64_t u64Dropped = 0;
    std::uint64_t u64Refused = 0;  // callbacks that answered anything but 0
};
VSET_API Keypad keypad();

// --- Instances -------------------------------------------------------------------------------------------------------

struct Channel {
    bool bOpen = false;                // by the program, as an ADC
    bool bPlayer = false;              // by the set's player
    unsigned int u32Mode = 0;          // HW_SAR_Mode_e, as it was configured since it was opened; 0 until then
    unsigned int u32VoltageLevel = 0;  // of the ADC instance; the keypad's for channel 0 without one
};
VSET_API Channel channel(unsigned int u32Channel);

// Opens a channel as an ADC for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold(unsigned int u32Channel);
VSET_API void release(unsigned int u32Channel);

}  // namespace vset::sar

#endif
