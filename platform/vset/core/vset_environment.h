// SPDX-License-Identifier: Apache-2.0
// The boot environment in the format of boot loaders: 65,536 bytes, of which the first four are the little-endian
// CRC-32 of the rest; key=value records, each ended by a NUL, and an empty record at the end.
#ifndef VSET_ENVIRONMENT_H
#define VSET_ENVIRONMENT_H

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hw3/hw_flash.h"

namespace vset {

// Keys and values in the order of the image.
using EnvironmentRecords = std::vector<std::pair<std::string, std::string>>;

// All images are HW_FLASH_ENV_IMAGE_SIZE bytes.

// Returns whether every byte is 0xFF, as flash is after erasing.
bool isEnvironmentBlank(const HW_U8* pu8Image);

// Returns whether the checksum is right, or the image is blank.
bool isEnvironmentValid(const HW_U8* pu8Image);

void updateEnvironmentChecksum(HW_U8* pu8Image);

// Throws SetError naming the first key for which there is no room.
std::vector<HW_U8> makeEnvironment(const EnvironmentRecords& records);

EnvironmentRecords environmentRecords(const HW_U8* pu8Image);

// Returns the value of a key, inside the image, or nothing. Never reads beyond the image, whatever it holds.
std::optional<std::string_view> environmentValue(const HW_U8* pu8Image, std::string_view key);

// Sets or adds a key, keeping the order of the others. Returns false when it does not fit; the image is then unchanged.
bool setEnvironmentValue(HW_U8* pu8Image, std::string_view key, std::string_view value);

}  // namespace vset

#endif
