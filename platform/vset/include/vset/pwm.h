// SPDX-License-Identifier: Apache-2.0
// The control API of the PWM channels. All functions throw SetError when no set is attached, or when there is no such
// channel or attribute.
#ifndef VSET_PWM_H
#define VSET_PWM_H

#include "vset/vset.h"

namespace vset::pwm {

constexpr unsigned int kChannels = 19;  // the middleware's numbers

// Returns or sets the value of an attribute (HW_PWM_AttrType_e: 0, 1 and 8). All values are 0 after switching on.
VSET_API std::uint32_t value(unsigned int u32Channel, unsigned int u32Attr);
VSET_API void setValue(unsigned int u32Channel, unsigned int u32Attr, std::uint32_t u32Value);

// Opens a channel for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold(unsigned int u32Channel);
VSET_API void release(unsigned int u32Channel);

}  // namespace vset::pwm

#endif
