// SPDX-License-Identifier: Apache-2.0
// The tty of the standard factory link.
#ifndef A_VEXTVFAPI_PRPHRL_TTY_H
#define A_VEXTVFAPI_PRPHRL_TTY_H

#include <atomic>

#include "a_vextvfapi_prphrl.h"

namespace fapi::prphrl {

// The tty's descriptor, or -1.
extern std::atomic<int> s32UartFd;

}  // namespace fapi::prphrl

#endif
