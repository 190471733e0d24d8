// SPDX-License-Identifier: Apache-2.0
// External inputs, what is plugged into them and how they are calibrated, in words.
#ifndef FAPI_AGENT_OPERATIONS_INPUT_WORDS_H
#define FAPI_AGENT_OPERATIONS_INPUT_WORDS_H

#include <array>
#include <cstdint>
#include <utility>

#include "operations/operation.h"
#include "vset/extin.h"

namespace tool {

// A kind of input by name or number.
Argument inputType();
// One whose converter is calibrated.
Argument analogInputType();
Argument inputIndex(std::optional<std::string> byDefault = std::nullopt);

// "HDMI"; "none" for the number behind the last one.
const char* inputName(std::uint32_t type);
// "HDMI 1" for 24: the sources as the library numbers them.
std::string sourceName(unsigned int number);

// "1920x1080p 59.940 Hz"
std::string timingWords(unsigned int width, unsigned int height, bool interlaced, unsigned int frameRate);
// "640x480p 60.000 Hz, locked, TV system 3", or "nothing".
std::string pluggedWords(const vset::extin::Input& input);
// "phase 16/16/16, gain 1024/1024/1024, offset 128/128/128"
std::string calibrationWords(std::uint32_t type, std::uint32_t index);

// The values of a calibration by the names that outputs and reports give them.
using NamedValues = std::array<std::pair<const char*, unsigned int>, 6>;
NamedValues namedValues(const HW_EXTIN_AdcGainOffset_t& values);

}  // namespace tool

#endif
