// SPDX-License-Identifier: Apache-2.0
// The control API of the set's tuners. All functions throw SetError when no set is attached or a number is out of
// range.
#ifndef VSET_TUNER_H
#define VSET_TUNER_H

#include "hw3/hw_tuner.h"
#include "vset/vset.h"

namespace vset::tuner {

constexpr unsigned int kSlotLimit = 8;

// Returns or sets the number of slots that the chip reports; switching on restores the board's own two.
VSET_API unsigned int slotCount();
VSET_API void setSlotCount(unsigned int u32Count);

struct Slot {
    bool bOpen = false;    // in the middleware; the middleware closes no tuner
    bool bPlayer = false;  // the set's player has it, not the library
    bool bLocked = false;
    std::int32_t s32Ber = 0;        // bit error rate that the middleware reads while the slot is locked
    std::uint64_t u64VifInits = 0;  // how often the program has initialized the IF stage: step 1, then step 0
};
// Returns a slot's state. After switching on, the player has slot 0, which is locked.
VSET_API Slot slot(unsigned int u32Slot);

// Locks a slot, or unlocks it. lock() opens the slot for the player unless it is open; unlock() leaves it open.
VSET_API void lock(unsigned int u32Slot);
VSET_API void unlock(unsigned int u32Slot);
VSET_API void setBer(unsigned int u32Slot, std::int32_t s32Ber);

// Opens a slot for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold(unsigned int u32Slot);
VSET_API void release(unsigned int u32Slot);

// --- What tuner and demodulator say of themselves --------------------------------------------------------------------

// Bytes of a text; one of this length leaves no room for the terminator that a program expects.
constexpr std::size_t kTextLimit = HW_TUNER_TEXT_SIZE;

// Returns or sets the text of an attribute (HW_TUNER_AttrType_e) or of a factory command (HW_TUNER_FactoryCmd_e).
// Switching on restores the board's own texts.
VSET_API std::string attributeText(unsigned int u32Slot, unsigned int u32Attr);
VSET_API void setAttributeText(unsigned int u32Slot, unsigned int u32Attr, const std::string& strText);
VSET_API std::string factoryText(unsigned int u32Slot, unsigned int u32Command);
VSET_API void setFactoryText(unsigned int u32Slot, unsigned int u32Command, const std::string& strText);

}  // namespace vset::tuner

#endif
