// SPDX-License-Identifier: Apache-2.0
// The boot environment as boot loaders keep it: 65,536 bytes, of which the first four are the little-endian CRC-32 of
// the rest; key=value records, each ended by a NUL, and an empty record at the end.
#ifndef VSET_ENVIRONMENT_H
#define VSET_ENVIRONMENT_H

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hw3/hw_flash.h"

namespace vset {

// In the order in which they stand in the image.
using EnvironmentRecords = std::vector<std::pair<std::string, std::string>>;

// All images are HW_FLASH_ENV_IMAGE_SIZE bytes.

// Whether every byte is 0xFF, as flash is after erasing.
bool isEnvironmentBlank(const HW_U8* pu8Image);

// Whether the checksum fits, or the image is blank.
bool isEnvironmentValid(const HW_U8* pu8Image);

void updateEnvironmentChecksum(HW_U8* pu8Image);

// Throws SetError naming the first key that has no room.
std::vector<HW_U8> makeEnvironment(const EnvironmentRecords& records);

EnvironmentRecords environmentRecords(const HW_U8* pu8Image);

// The value of a key, inside the image, or nothing. Never looks beyond the image, whatever it holds.
std::optional<std::string_view> environmentValue(const HW_U8* pu8Image, std::string_view key);

// Sets or adds a key, keeping the order of the others. False when it does not fit; the image is then unchanged.
bool setEnvironmentValue(HW_U8* pu8Image, std::string_view key, std::string_view value);

}  // namespace vset

#endif
