// SPDX-License-Identifier: Apache-2.0
// The person's door to the set's external inputs. All functions throw SetError.
#ifndef VSET_EXTIN_H
#define VSET_EXTIN_H

#include "vset/vset.h"

namespace vset::extin {

// How many inputs of a type (HW_EXTIN_Type_e) the chip says it has; switching on puts the board's own counts back.
VSET_API unsigned char inputCount(std::uint32_t u32Type);
VSET_API void setInputCount(std::uint32_t u32Type, unsigned char u8Count);

}  // namespace vset::extin

#endif
