// SPDX-License-Identifier: Apache-2.0
// All slots on one screen.
#ifndef FAPI_BENCH_SLOTS_SLOT_SCREEN_H
#define FAPI_BENCH_SLOTS_SLOT_SCREEN_H

#include <memory>
#include <string>
#include <vector>

#include "slots/slot.h"

namespace tool {

// On a terminal a line for each slot, which is rewritten; elsewhere a line for each run that begins or ends.
class SlotScreen {
public:
    explicit SlotScreen(const std::vector<std::unique_ptr<Slot>>& slots);

    // A line that stays.
    void tell(const std::string& line);
    void refresh();
    // Takes the slots' lines off the screen, until the next refresh().
    void clear();

private:
    std::string lineOf(const Slot& slot, std::size_t columns) const;

    const std::vector<std::unique_ptr<Slot>>& _slots;
    const bool _isTerminal;
    bool _isShown = false;
};

}  // namespace tool

#endif
