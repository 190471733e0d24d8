// SPDX-License-Identifier: Apache-2.0
// The boot environment in the format of boot loaders.
#include "vset_environment.h"

#include <algorithm>
#include <cstring>

#include <zlib.h>

#include "vset/vset.h"

namespace vset {

namespace {

constexpr std::size_t kImageSize = HW_FLASH_ENV_IMAGE_SIZE;
constexpr std::size_t kChecksumSize = 4;

HW_U32 checksumOf(const HW_U8* pu8Image) {
    return static_cast<HW_U32>(crc32_z(0, pu8Image + kChecksumSize, kImageSize - kChecksumSize));
}

// Returns the record at an offset, without its NUL; empty where the list ends. Bytes without a NUL inside the image are
// no record.
std::string_view recordAt(const HW_U8* pu8Image, std::size_t offset) {
    const char* const pStart = reinterpret_cast<const char*>(pu8Image) + offset;
    const void* const pEnd = std::memchr(pStart, '\0', kImageSize - offset);
    if (pEnd == nullptr) {
        return {};
    }
    return {pStart, static_cast<std::size_t>(static_cast<const char*>(pEnd) - pStart)};
}

bool isOfKey(std::string_view record, std::string_view key) {
    return record.size() > key.size() && record[key.size()] == '=' && record.compare(0, key.size(), key) == 0;
}

}  // namespace

bool isEnvironmentBlank(const HW_U8* pu8Image) {
    return pu8Image[0] == 0xFF && std::memcmp(pu8Image, pu8Image + 1, kImageSize - 1) == 0;
}

bool isEnvironmentValid(const HW_U8* pu8Image) {
    const HW_U32 u32Stored = static_cast<HW_U32>(pu8Image[0]) | static_cast<HW_U32>(pu8Image[1]) << 8 |
                             static_cast<HW_U32>(pu8Image[2]) << 16 | static_cast<HW_U32>(pu8Image[3]) << 24;
    return u32Stored == checksumOf(pu8Image) || isEnvironmentBlank(pu8Image);
}

void updateEnvironmentChecksum(HW_U8* pu8Image) {
    const HW_U32 u32Checksum = checksumOf(pu8Image);
    for (unsigned int i = 0; i < kChecksumSize; ++i) {
        pu8Image[i] = static_cast<HW_U8>(u32Checksum >> (8 * i));
    }
}

std::vector<HW_U8> makeEnvironment(const EnvironmentRecords& records) {
    std::vector<HW_U8> image(kImageSize);
    for (const auto& [strKey, strValue] : records) {
        if (!setEnvironmentValue(image.data(), strKey, strValue)) {
            throw SetError("environment: no room for " + strKey);
        }
    }
    updateEnvironmentChecksum(image.data());
    return image;
}

EnvironmentRecords environmentRecords(const HW_U8* pu8Image) {
    EnvironmentRecords records;
    std::string_view record;
    for (std::size_t offset = kChecksumSize; !(record = recordAt(pu8Image, offset)).empty();
         offset += record.size() + 1) {
        if (const std::size_t equals = record.find('='); equals != std::string_view::npos) {
            records.emplace_back(record.substr(0, equals), record.substr(equals + 1));
        }
    }
    return records;
}

std::optional<std::string_view> environmentValue(const HW_U8* pu8Image, std::string_view key) {
    std::string_view record;
    for (std::size_t offset = kChecksumSize; !(record = recordAt(pu8Image, offset)).empty();
         offset += record.size() + 1) {
        if (isOfKey(record, key)) {
            return record.substr(key.size() + 1);
        }
    }
    return std::nullopt;
}

bool setEnvironmentValue(HW_U8* pu8Image, std::string_view key, std::string_view value) {
    std::size_t place = 0;
    std::size_t oldSize = 0;
    std::size_t end = kChecksumSize;
    for (std::string_view record; !(record = recordAt(pu8Image, end)).empty(); end += record.size() + 1) {
        if (oldSize == 0 && isOfKey(record, key)) {
            place = end;
            oldSize = record.size() + 1;
        }
    }
    if (oldSize == 0) {
        place = end;
    }
    const std::size_t newSize = key.size() + 1 + value.size() + 1;
    const std::size_t newEnd = end - oldSize + newSize;
    // The empty record needs the byte at the new end.
    if (newEnd >= kImageSize) {
        return false;
    }
    HW_U8* const pu8Record = pu8Image + place;
    std::memmove(pu8Record + newSize, pu8Record + oldSize, end - place - oldSize);
    // memmove, because a caller's key or value may lie in the image itself.
    std::memmove(pu8Record, key.data(), key.size());
    pu8Record[key.size()] = '=';
    std::memmove(pu8Record + key.size() + 1, value.data(), value.size());
    pu8Record[newSize - 1] = '\0';
    std::memset(pu8Image + newEnd, 0, std::max(end, newEnd + 1) - newEnd);
    return true;
}

}  // namespace vset
