// SPDX-License-Identifier: Apache-2.0
// The control API of the set's external inputs. All functions throw SetError when no set is attached or a number is out
// of range.
#ifndef VSET_EXTIN_H
#define VSET_EXTIN_H

#include <optional>

#include "hw3/hw_extin.h"
#include "vset/vset.h"

namespace vset::extin {

// Returns or sets the number of inputs of a type (HW_EXTIN_Type_e) that the chip reports; switching on restores the
// board's own.
VSET_API unsigned char inputCount(std::uint32_t u32Type);
VSET_API void setInputCount(std::uint32_t u32Type, unsigned char u8Count);

// A source that a person plugs into an input. The set reports these values, whether or not they fit together.
struct Source {
    HW_EXTIN_Timing_t stTiming = {1920, 1080, 0, 60000};
    std::uint32_t u32Status = E_HW_EXTIN_SIGNAL_LOCKED;     // HW_EXTIN_Signal_e; only a locked signal can be calibrated
    std::uint32_t u32TvSystem = E_HW_EXTIN_TV_SYSTEM_NONE;  // HW_EXTIN_TvSystem_e
    // The setting of the converter that this source needs: the result of automatic calibration.
    HW_EXTIN_AdcGainOffset_t stNeeded = {1064, 1052, 1071, 131, 127, 134};
};

// Plugs a source into an input, or takes it out. A new source replaces the previous one; unplug() throws SetError when
// there is none. Switching on removes all sources: there is no timing then (0x3), no signal and no television standard.
// The decoder does not receive what is plugged into a composite input: plug it into the decoder, too.
VSET_API void plug(std::uint32_t u32Type, std::uint32_t u32Index, const Source& source);
VSET_API void unplug(std::uint32_t u32Type, std::uint32_t u32Index);

struct Input {
    bool bOpen = false;    // in the middleware
    bool bPlayer = false;  // the set's player has it, not the library
    std::optional<Source> source;
};
VSET_API Input input(std::uint32_t u32Type, std::uint32_t u32Index);

// Opens an input for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold(std::uint32_t u32Type, std::uint32_t u32Index);
VSET_API void release(std::uint32_t u32Type, std::uint32_t u32Index);

// --- HDMI ports ------------------------------------------------------------------------------------------------------

constexpr unsigned int kEdidVersions = 4;  // 0 (default) to 3
constexpr std::size_t kEdidLimit = 512;    // bytes

// Returns or replaces the EDID that a source reads from a port at that version. It is kept in the set's folder; a new
// set has blocks of its own for every version (256 bytes).
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

// Makes a port report this version of its EDID, which the chip may know and the program not, until the program sets
// one.
VSET_API void reportEdidVersion(unsigned int u32Port, unsigned int u32Version);

// --- Analog inputs (YPbPr, VGA, SCART) -------------------------------------------------------------------------------

struct Calibration {
    HW_EXTIN_AdcPhase_t stPhase = {16, 16, 16};
    HW_EXTIN_AdcGainOffset_t stGainOffset = {1024, 1024, 1024, 128, 128, 128};
};
// Returns or replaces the converter's setting, which is kept in the set's folder. A new set has the defaults above.
VSET_API Calibration calibration(std::uint32_t u32Type, std::uint32_t u32Index);
VSET_API void setCalibration(std::uint32_t u32Type, std::uint32_t u32Index, const Calibration& stCalibration);

// Returns the number of successful automatic calibrations since the set was switched on.
VSET_API std::uint64_t automaticCalibrations(std::uint32_t u32Type, std::uint32_t u32Index);

// --- The video decoder -----------------------------------------------------------------------------------------------

// Returns or sets a factory parameter, 1 to 16; all are 0 after switching on.
VSET_API std::uint32_t decoderParameter(unsigned int u32Decoder, unsigned int u32Parameter);
VSET_API void setDecoderParameter(unsigned int u32Decoder, unsigned int u32Parameter, std::uint32_t u32Value);

}  // namespace vset::extin

#endif
