// SPDX-License-Identifier: Apache-2.0
// The person's door to the set's external inputs. All functions throw SetError when no set is attached or a number is
// out of range.
#ifndef VSET_EXTIN_H
#define VSET_EXTIN_H

#include "vset/vset.h"

namespace vset::extin {

// How many inputs of a type (HW_EXTIN_Type_e) the chip says it has; switching on puts the board's own counts back.
VSET_API unsigned char inputCount(std::uint32_t u32Type);
VSET_API void setInputCount(std::uint32_t u32Type, unsigned char u8Count);

// The set's player opens an input, and closes it again: the library finds it open meanwhile.
VSET_API void hold(std::uint32_t u32Type, std::uint32_t u32Index);
VSET_API void release(std::uint32_t u32Type, std::uint32_t u32Index);

// --- HDMI ports ------------------------------------------------------------------------------------------------------

constexpr unsigned int kEdidVersions = 4;  // 0 (default) to 3
constexpr std::size_t kEdidLimit = 512;    // bytes

// What a source reads from a port when its EDID has that version. Kept in the set's folder; a new set has blocks of its
// own for every version (256 bytes).
VSET_API std::string edid(unsigned int u32Port, unsigned int u32Version);
VSET_API void setEdid(unsigned int u32Port, unsigned int u32Version, const std::string& strBytes);

struct HdmiPort {
    bool bOpen = false;             // in the middleware
    bool bPlayer = false;           // the set's player has it, not the library
    unsigned int u32Version = 0;    // of the EDID; 1 after switching on
    unsigned char u8HotPlug = 1;    // level that the set drives on the hot-plug line; 1 after switching on
    std::uint64_t u64HotPlugs = 0;  // how often the program has set it
};
VSET_API HdmiPort hdmi(unsigned int u32Port);

}  // namespace vset::extin

#endif
