// SPDX-License-Identifier: Apache-2.0
// Any bytes through the command pipe: every command fits the buffer and ends in its one zero byte, and none holds the
// end.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "base/fapi_command_scanner.h"

namespace {

class Checker : public fapi::CommandReceiver {
public:
    explicit Checker(unsigned char u8End) : _u8End(u8End) {}

    void receive(const unsigned char* pu8Command, std::size_t length) override {
        const bool bFits = length >= 1 && length <= fapi::CommandScanner::kSize && pu8Command[length - 1] == 0;
        if (!bFits || std::count(pu8Command, pu8Command + length - 1, _u8End) != 0) {
            std::abort();
        }
        received += length;
    }

    std::size_t received = 0;

private:
    const unsigned char _u8End;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pu8Data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    Checker checker(pu8Data[0]);
    fapi::CommandScanner scanner(pu8Data[0], checker);
    std::size_t scanned = 0;
    for (std::size_t i = 1; i < size;) {
        // Reads of any length up to the size of the service's buffer.
        const std::size_t wanted = 1 + pu8Data[i] * 8u;
        const std::size_t length = std::min(wanted, size - i);
        std::vector<unsigned char> bytes(pu8Data + i, pu8Data + i + length);
        i += length;
        scanned += length;
        if (!scanner.scan(bytes.data(), bytes.size())) {
            break;
        }
    }
    if (checker.received > scanned) {
        std::abort();
    }
    return 0;
}
