// SPDX-License-Identifier: Apache-2.0
// The control API of the set's audio outputs. All functions throw SetError when no set is attached, when a path or type
// is out of range, or when there is nothing of what is asked for.
#ifndef VSET_AOUT_H
#define VSET_AOUT_H

#include <array>
#include <optional>

#include "hw3/hw_aout.h"
#include "vset/vset.h"

namespace vset::aout {

constexpr unsigned int kPaths = HW_AOUT_PATH_COUNT;  // path 0 is the main output
constexpr unsigned int kBasicTypes = 13;             // HW_AOUT_BasicSndType_e

// --- Paths -----------------------------------------------------------------------------------------------------------

struct VolumeTable {
    std::string strName;
    // The first entry, or as many as setVolumeTableLength() has said.
    std::vector<std::uint16_t> entries;
};

struct Path {
    bool bOpen = false;    // in the middleware
    bool bPlayer = false;  // the set's player has it, not the library
    bool bBlocked = false;
    unsigned char u8Volume = 50;  // percent
    unsigned int u32DelayMs = 0;
    std::optional<VolumeTable> volumeTable;  // as it was loaded last
};
// Returns a path's state. The defaults above are those after switching on.
VSET_API Path path(unsigned int u32Path);

// Sets how many entries are read of each volume table from now on, since a table does not carry its length. Only for a
// program whose tables are that long. 1 after switching on.
VSET_API void setVolumeTableLength(std::size_t entries);

// Opens a path for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold(unsigned int u32Path);
VSET_API void release(unsigned int u32Path);

// Makes a path impossible to open, or possible again.
VSET_API void setBlocked(unsigned int u32Path, bool bBlocked);

// --- Sound processing ------------------------------------------------------------------------------------------------

struct Sound {
    bool bDtsBypass = false;
    std::uint32_t u32AdvancedType = E_HW_AOUT_ADV_SND_NONE;    // HW_AOUT_AdvSndType_e, as it was switched on last
    std::optional<HW_AOUT_AdvSndParams_t> advancedParameters;  // as they were sent last
    std::array<std::optional<HW_AOUT_BasicSound_t>, kBasicTypes> basic;
    std::string strAqFile;  // the set's path of the audio-quality parameters that were loaded last
};
VSET_API Sound sound();

// --- In words --------------------------------------------------------------------------------------------------------

// Describes parameters: "SRS Theater: geq on, rest off", "DBX: sonic on, volume night, surround off", "Dolby DAP: ..."
VSET_API std::string describe(const HW_AOUT_AdvSndParams_t& stParams);

// Describes a basic sound: "PEQ on, 5 bands: gain 0 0 120 0 0, frequency 0 0 1000 0 0, Q 0 0 10 0 0", "bass on: 12"
VSET_API std::string describe(const HW_AOUT_BasicSound_t& stSound);

// Returns the name of an advanced sound type ("SRS Theater"), or its number.
VSET_API std::string advancedName(std::uint32_t u32Type);

// Returns a line for each path that is not at its default, and for each effect.
VSET_API std::string describeAll();

}  // namespace vset::aout

#endif
