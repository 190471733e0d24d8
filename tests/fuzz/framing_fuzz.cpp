// SPDX-License-Identifier: Apache-2.0
// Any bytes from a wire: they are the same lines in any pieces, and a message that came through comes through again.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/framing.h"

namespace {

void require(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

std::vector<tool::Line> linesOf(tool::Framing framing, std::string_view bytes, std::size_t piece) {
    tool::LineReader reader(framing);
    std::vector<tool::Line> lines;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size()))) {
        reader.take(bytes.substr(0, piece), lines);
    }
    return lines;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The first byte is the framing and the length of the pieces.
    if (size == 0) {
        return 0;
    }
    const tool::Framing framing = data[0] % 2 == 0 ? tool::Framing::plain : tool::Framing::checked;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::vector<tool::Line> lines = linesOf(framing, bytes, size);
    const std::vector<tool::Line> inPieces = linesOf(framing, bytes, 1 + data[0] / 2);
    require(lines.size() == inPieces.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        require(lines[i].kind == inPieces[i].kind && lines[i].text == inPieces[i].text &&
                lines[i].object == inPieces[i].object && lines[i].text.size() <= size);
        if (lines[i].kind == tool::Line::Kind::message) {
            for (const auto other : {tool::Framing::plain, tool::Framing::checked}) {
                const auto again = linesOf(other, tool::frame(lines[i].object, other), size);
                require(again.size() == 1 && again[0].object == lines[i].object);
            }
        }
    }
    return 0;
}
