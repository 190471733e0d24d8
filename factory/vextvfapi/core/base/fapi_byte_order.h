// SPDX-License-Identifier: Apache-2.0
// Numbers in byte streams of a fixed byte order.
#ifndef FAPI_BYTE_ORDER_H
#define FAPI_BYTE_ORDER_H

#include <cstddef>
#include <cstdint>

namespace fapi {

// Reads sizeof(Unsigned) bytes, the most significant one first.
template <class Unsigned>
constexpr Unsigned loadBigEndian(const signed char* ps8Data) {
    std::uint64_t u64Value = 0;
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        u64Value = (u64Value << 8) | static_cast<unsigned char>(ps8Data[i]);
    }
    return static_cast<Unsigned>(u64Value);
}

inline std::uint32_t loadLittleEndian32(const unsigned char* pu8Data) {
    return std::uint32_t{pu8Data[0]} | std::uint32_t{pu8Data[1]} << 8 | std::uint32_t{pu8Data[2]} << 16 |
           std::uint32_t{pu8Data[3]} << 24;
}

}  // namespace fapi

#endif
