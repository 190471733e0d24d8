// SPDX-License-Identifier: Apache-2.0
// SHA-256, as FIPS 180-4 defines it and names its functions and variables.
#include "protocol/sha256.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace tool {

namespace {

constexpr std::uint32_t kRoundConstants[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

std::uint32_t rotated(std::uint32_t x, unsigned int by) {
    return x >> by | x << (32 - by);
}

}  // namespace

void Sha256::add(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::size_t kept = _size % kBlock;
    _size += size;
    while (kept + size >= kBlock) {
        const std::size_t taken = kBlock - kept;
        if (kept == 0) {
            addBlock(bytes);
        } else {
            std::memcpy(_kept.data() + kept, bytes, taken);
            addBlock(_kept.data());
        }
        bytes += taken;
        size -= taken;
        kept = 0;
    }
    std::copy_n(bytes, size, _kept.begin() + static_cast<std::ptrdiff_t>(kept));
}

std::string Sha256::sum() {
    // A bit, zeros up to the end of a block, in whose last eight bytes is the number of bits.
    const std::uint64_t bits = _size * 8;
    const std::size_t kept = _size % kBlock;
    unsigned char end[2 * kBlock] = {0x80};
    const std::size_t zeros = (kept < kBlock - 8 ? kBlock : 2 * kBlock) - 8 - kept;
    for (unsigned int i = 0; i < 8; ++i) {
        end[zeros + i] = static_cast<unsigned char>(bits >> (56 - 8 * i));
    }
    add(end, zeros + 8);
    std::string text;
    for (const std::uint32_t word : _state) {
        char digits[9];
        std::snprintf(digits, sizeof(digits), "%08x", static_cast<unsigned int>(word));
        text += digits;
    }
    return text;
}

void Sha256::addBlock(const unsigned char* block) {
    std::uint32_t w[64];
    for (std::size_t t = 0; t < 16; ++t) {
        w[t] = static_cast<std::uint32_t>(block[4 * t]) << 24 | static_cast<std::uint32_t>(block[4 * t + 1]) << 16 |
               static_cast<std::uint32_t>(block[4 * t + 2]) << 8 | block[4 * t + 3];
    }
    for (std::size_t t = 16; t < 64; ++t) {
        const std::uint32_t sigma0 = rotated(w[t - 15], 7) ^ rotated(w[t - 15], 18) ^ w[t - 15] >> 3;
        const std::uint32_t sigma1 = rotated(w[t - 2], 17) ^ rotated(w[t - 2], 19) ^ w[t - 2] >> 10;
        w[t] = sigma1 + w[t - 7] + sigma0 + w[t - 16];
    }
    auto [a, b, c, d, e, f, g, h] = _state;
    for (std::size_t t = 0; t < 64; ++t) {
        const std::uint32_t sum1 = rotated(e, 6) ^ rotated(e, 11) ^ rotated(e, 25);
        const std::uint32_t t1 = h + sum1 + ((e & f) ^ (~e & g)) + kRoundConstants[t] + w[t];
        const std::uint32_t sum0 = rotated(a, 2) ^ rotated(a, 13) ^ rotated(a, 22);
        const std::uint32_t t2 = sum0 + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + t1;
        d = c;
        c = b;
        b = a;
        a = t1 + t2;
    }
    const std::uint32_t rounds[8] = {a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < 8; ++i) {
        _state[i] += rounds[i];
    }
}

}  // namespace tool
