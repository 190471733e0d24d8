// SPDX-License-Identifier: Apache-2.0
// The person's door to the watchdog. All functions but onReboot() throw SetError when no set is attached.
//
// A watchdog that has been given a time runs out unless it is given another one before, or stopped with 0 seconds. When
// it runs out it reboots the set. The set remembers that it did, in its folder, until a program acknowledges it.
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

// Present and standing still after switching on.
VSET_API Watchdog state();

// The reason of the last reboot, as programs read it.
VSET_API void setRebooted(bool bRebooted);

// Takes the watchdog out, and puts it back; switching on puts it back, too.
VSET_API void setPresent(bool bPresent);

// What a reboot does, on a thread of the watchdog: a power cycle unless told otherwise (null). A host program that is
// to die with the set, as one on a real set does, says so here. The set has already noted the reason when it is called;
// the journal has an entry "WATCHDOG_REBOOT".
VSET_API void onReboot(std::function<void()> action);

}  // namespace vset::wdt

#endif
