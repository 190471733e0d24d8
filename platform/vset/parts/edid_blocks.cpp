// SPDX-License-Identifier: Apache-2.0
// The EDIDs of a new set: VESA E-EDID 1.3, as HDMI requires, and CTA-861.
#include "edid_blocks.h"

#include <initializer_list>

namespace vset {

namespace {

using Bytes = std::string;

constexpr std::size_t kBlock = 128;

Bytes bytes(std::initializer_list<unsigned int> values) {
    Bytes all;
    for (const unsigned int value : values) {
        all += static_cast<char>(value);
    }
    return all;
}

// Fills the block up and ends it with the byte that makes the sum of all 128 a multiple of 256.
Bytes sealed(Bytes block) {
    block.resize(kBlock - 1, '\0');
    unsigned int sum = 0;
    for (const char cByte : block) {
        sum += static_cast<unsigned char>(cByte);
    }
    return block + static_cast<char>(0x100 - (sum & 0xFF));
}

struct Timing {
    unsigned int u32Clock;  // 10 kHz
    unsigned int u32Width, u32HBlank, u32HFront, u32HSync;
    unsigned int u32Height, u32VBlank, u32VFront, u32VSync;
    unsigned int u32WidthMm, u32HeightMm;
};

constexpr Timing k1080p60 = {14850, 1920, 280, 88, 44, 1080, 45, 4, 5, 1210, 680};
constexpr Timing k1080p50 = {14850, 1920, 720, 528, 44, 1080, 45, 4, 5, 1210, 680};
constexpr Timing k720p60 = {7425, 1280, 370, 110, 40, 720, 30, 5, 5, 1210, 680};
constexpr Timing k2160p60 = {59400, 3840, 560, 176, 88, 2160, 90, 8, 10, 1210, 680};

unsigned int high(unsigned int first, unsigned int second) {
    return (first >> 8 & 0xF) << 4 | (second >> 8 & 0xF);
}

// Returns an 18-byte detailed timing descriptor; both sync pulses are positive.
Bytes descriptor(const Timing& t) {
    return bytes(
        {t.u32Clock & 0xFF, t.u32Clock >> 8, t.u32Width & 0xFF, t.u32HBlank & 0xFF, high(t.u32Width, t.u32HBlank),
         t.u32Height & 0xFF, t.u32VBlank & 0xFF, high(t.u32Height, t.u32VBlank), t.u32HFront & 0xFF, t.u32HSync & 0xFF,
         (t.u32VFront & 0xF) << 4 | (t.u32VSync & 0xF),
         (t.u32HFront >> 8 & 3) << 6 | (t.u32HSync >> 8 & 3) << 4 | (t.u32VFront >> 4 & 3) << 2 | (t.u32VSync >> 4 & 3),
         t.u32WidthMm & 0xFF, t.u32HeightMm & 0xFF, high(t.u32WidthMm, t.u32HeightMm), 0, 0, 0x1E});
}

// Returns a display descriptor with a text, ended by a newline and filled up with blanks.
Bytes textDescriptor(unsigned int u32Tag, Bytes text) {
    text += '\n';
    text.resize(13, ' ');
    return bytes({0, 0, 0, u32Tag, 0}) + text;
}

// Returns the limits: vertical rate 48-75 Hz, line rate 15-`u32MaxKHz` kHz, pixel clock in steps of 10 MHz; the default
// timing formula.
Bytes rangeLimits(unsigned int u32MaxKHz, unsigned int u32MaxClock) {
    return bytes({0, 0, 0, 0xFD, 0, 23, 75, 15, u32MaxKHz, u32MaxClock, 0, 0x0A, 0x20, 0x20, 0x20, 0x20, 0x20, 0x20});
}

// The fields that differ between the versions.
struct Capabilities {
    unsigned int u32Product;
    const char* pszName;
    Timing stPreferred;
    Timing stSecond;
    unsigned int u32MaxKHz;
    unsigned int u32MaxClock;
    Bytes vics;
    bool b4K;
    bool bHdr;
};

Capabilities capabilitiesOf(unsigned int u32Version) {
    const Bytes fullHd = bytes({16, 31, 4, 19, 5, 20, 32, 33, 34, 2, 17, 1});
    const Bytes ultraHd = bytes({97, 96, 95, 94, 93, 16, 31, 4, 19, 5, 20, 32, 33, 34, 2, 17, 1});
    switch (u32Version) {
        case 2:
            return {0x0002, "LM-VSET 4K", k2160p60, k1080p60, 140, 60, ultraHd, true, false};
        case 3:
            return {0x0003, "LM-VSET HDR", k2160p60, k1080p60, 140, 60, ultraHd, true, true};
        case 1:
            return {0x0001, "LM-VSET", k1080p60, k720p60, 70, 15, fullHd, false, false};
        default:
            return {0x0000, "LM-VSET", k1080p60, k1080p50, 70, 15, fullHd, false, false};
    }
}

Bytes baseBlock(const Capabilities& capabilities) {
    const Bytes header = bytes({0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00});
    // "LUM" in three times five bits; product; serial number 1; week 1 of 2026; version 1.3.
    const Bytes identity = bytes(
        {0x32, 0xAD, capabilities.u32Product & 0xFF, capabilities.u32Product >> 8, 1, 0, 0, 0, 1, 2026 - 1990, 1, 3});
    // Digital; 121 x 68 cm; gamma 2.2; RGB, sRGB, the first timing is the preferred one.
    const Bytes display = bytes({0x80, 121, 68, 120, 0x0E});
    // The primaries of sRGB, white D65.
    const Bytes colours = bytes({0xEE, 0x91, 0xA3, 0x54, 0x4C, 0x99, 0x26, 0x0F, 0x50, 0x54});
    // 640x480, 800x600 and 1024x768 at 60 Hz.
    const Bytes established = bytes({0x21, 0x08, 0x00});
    const Bytes standard(16, '\x01');
    return sealed(header + identity + display + colours + established + standard +
                  descriptor(capabilities.stPreferred) + descriptor(capabilities.stSecond) +
                  textDescriptor(0xFC, capabilities.pszName) +
                  rangeLimits(capabilities.u32MaxKHz, capabilities.u32MaxClock) + bytes({1}));
}

// Returns a data block of the extension.
Bytes block(unsigned int u32Tag, const Bytes& payload) {
    return static_cast<char>(u32Tag << 5 | payload.size()) + payload;
}

Bytes extendedBlock(unsigned int u32Tag, const Bytes& payload) {
    return block(7, static_cast<char>(u32Tag) + payload);
}

Bytes extensionBlock(const Capabilities& capabilities, unsigned int u32Port) {
    Bytes blocks = block(2, capabilities.vics);
    // Two channels of PCM at 32, 44.1 and 48 kHz with 16, 20 and 24 bits, and their speakers.
    blocks += block(1, bytes({0x09, 0x07, 0x07}));
    blocks += block(4, bytes({0x01, 0x00, 0x00}));
    // HDMI: physical address, deep color of 30 and 36 bits, largest clock in steps of 5 MHz.
    const unsigned int u32TmdsClock = capabilities.b4K ? 68 : 45;
    blocks += block(3, bytes({0x03, 0x0C, 0x00, (u32Port + 1) << 4 & 0xF0, 0x00, 0x38, u32TmdsClock}));
    if (capabilities.b4K) {
        // HDMI Forum: version 1, 600 MHz, SCDC, 30 and 36 bits also in 4:2:0.
        blocks += block(3, bytes({0xD8, 0x5D, 0xC4, 0x01, 0x78, 0x80, 0x03}));
    }
    // Video capability: the range may be chosen, no overscan.
    blocks += extendedBlock(0, bytes({0xCA}));
    if (capabilities.bHdr) {
        // BT.2020; SDR, SMPTE ST 2084 and hybrid log-gamma with static metadata 1.
        blocks += extendedBlock(5, bytes({0xE0, 0x00}));
        blocks += extendedBlock(6, bytes({0x0D, 0x01}));
    }
    const Bytes header = bytes({0x02, 0x03, 4 + static_cast<unsigned int>(blocks.size()), 0xF1});
    return sealed(header + blocks + descriptor(k1080p50));
}

}  // namespace

std::string boardEdid(unsigned int u32Port, unsigned int u32Version) {
    const Capabilities capabilities = capabilitiesOf(u32Version);
    return baseBlock(capabilities) + extensionBlock(capabilities, u32Port);
}

}  // namespace vset
