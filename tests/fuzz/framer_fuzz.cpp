// SPDX-License-Identifier: Apache-2.0
// Any bytes in any reads under any changes of the settings: cut as one byte after the other would be.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "support/reference_framer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pu8Data, std::size_t size) {
    fapi::FramerSettings settings;
    test::Framer framer(settings);
    test::ReferenceFramer reference(settings);
    // A byte below 4 sets the mode, with the next two as terminator and limit; any other is the length of a read.
    for (std::size_t i = 0; i < size;) {
        const std::uint8_t u8Command = pu8Data[i++];
        if (u8Command < 4 && size - i >= 2) {
            settings.s8Mode = static_cast<signed char>(u8Command);
            settings.u8Terminator = pu8Data[i];
            settings.u32TargetBufferLimit = pu8Data[i + 1] == 255 ? fapi::ReceiveBuffer::kSize : pu8Data[i + 1];
            i += 2;
            continue;
        }
        const std::size_t length = std::min<std::size_t>(u8Command, size - i);
        const std::string bytes(reinterpret_cast<const char*>(pu8Data) + i, length);
        i += length;
        framer.adoptLimit();
        reference.adoptLimit();
        framer.feed(bytes);
        reference.feed(bytes);
    }
    if (framer.messages() != reference.messages()) {
        std::abort();
    }
    return 0;
}
