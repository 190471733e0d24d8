// SPDX-License-Identifier: Apache-2.0
// The control API of the display output: panel attributes, timing controller, frame-rate converter. All functions throw
// SetError when no set is attached or there is no such attribute.
#ifndef VSET_DISPOUT_H
#define VSET_DISPOUT_H

#include "hw3/hw_dispout.h"
#include "vset/vset.h"

namespace vset::dispout {

struct Output {
    bool bOpen = false;    // in the middleware
    bool bPlayer = false;  // the set's player has it, as after switching on
};
VSET_API Output output();

// Opens the output for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold();
VSET_API void release();

// Returns the bytes of a panel attribute (HW_DISPOUT_PanelAttr_e), as it was set last or as the panel has it: a record
// of the attribute's size. Bytes between two fields are 0 however a program has sent them.
VSET_API std::string attribute(std::uint32_t u32Attr);
// Sets an attribute of the panel to the bytes of a record, of exactly the attribute's size.
VSET_API void setAttribute(std::uint32_t u32Attr, const std::string& strBytes);

}  // namespace vset::dispout

#endif
