// SPDX-License-Identifier: Apache-2.0
// The control API of the watchdog. All functions but onReboot() throw SetError when no set is attached.
//
// A watchdog that has been given a time runs out unless it is given another one before, or stopped with 0 seconds. When
// it runs out it reboots the set. The set's folder remembers the reboot until a program acknowledges it.
#ifndef VSET_WDT_H
#define VSET_WDT_H

#include <functional>

#include "vset/vset.h"

namespace vset::wdt {

struct Watchdog {
    bool bPresent = true;         // a set may be built without
    unsigned int u32Seconds = 0;  // its last setting; 0: stopped
    double remaining = 0;         // seconds until it runs out
    bool bRebooted = false;       // it has rebooted the set, and no program has acknowledged that
    unsigned int u32Reboots = 0;  // how often since the set was attached
};

// Returns the state; after switching on the watchdog is present and stopped.
VSET_API Watchdog state();

// Sets the reason of the last reboot, as programs read it.
VSET_API void setRebooted(bool bRebooted);

// Removes the watchdog, or puts it back, as switching on does.
VSET_API void setPresent(bool bPresent);

// Sets what a reboot does, on a thread of the watchdog; null restores the default, a power cycle. A program that should
// end with the set, as on a real set, ends itself here. The set has noted the reason before; the journal has an entry
// "WATCHDOG_REBOOT".
VSET_API void onReboot(std::function<void()> action);

}  // namespace vset::wdt

#endif
