// SPDX-License-Identifier: Apache-2.0
// SHA-256, of what comes in pieces.
#ifndef FAPI_PROTOCOL_SHA256_H
#define FAPI_PROTOCOL_SHA256_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tool {

class Sha256 {
public:
    void add(const void* data, std::size_t size);
    // In hexadecimal digits. Nothing can be added after it.
    std::string sum();

private:
    static constexpr std::size_t kBlock = 64;

    void addBlock(const unsigned char* block);

    std::array<std::uint32_t, 8> _state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                           0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::array<unsigned char, kBlock> _kept = {};  // the beginning of the next block
    std::uint64_t _size = 0;
};

}  // namespace tool

#endif
