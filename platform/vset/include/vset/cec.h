// SPDX-License-Identifier: Apache-2.0
// The control API of CEC and eARC. All functions throw SetError when no set is attached.
#ifndef VSET_CEC_H
#define VSET_CEC_H

#include "vset/vset.h"

namespace vset::cec {

struct Cec {
    bool bOpen = false;    // in the middleware
    bool bPlayer = false;  // the set's player has it, not the library
    bool bEnabled = false;
    int s32EarcStatus = 0;
};

// Returns the state; CEC is off and has no eARC after switching on.
VSET_API Cec state();

// Switches CEC as the set's menu does.
VSET_API void setEnabled(bool bEnabled);

// Sets the eARC status that the audio system at the other end brings about.
VSET_API void setEarcStatus(int s32Status);

// Opens CEC for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold();
VSET_API void release();

}  // namespace vset::cec

#endif
