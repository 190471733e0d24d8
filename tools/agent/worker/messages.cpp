// SPDX-License-Identifier: Apache-2.0
// Messages from the supervisor.
#include "worker/messages.h"

#include <array>
#include <cerrno>
#include <utility>
#include <vector>

#include <unistd.h>

#include "protocol/framing.h"

namespace tool {

void readMessages(int descriptor, const std::function<void(Message message)>& take) {
    LineReader reader(Framing::plain);
    std::array<char, 1u << 16> piece;
    std::vector<Line> lines;
    for (;;) {
        const ssize_t size = read(descriptor, piece.data(), piece.size());
        if (size == 0 || (size < 0 && errno != EINTR)) {
            return;
        }
        reader.take({piece.data(), static_cast<std::size_t>(size > 0 ? size : 0)}, lines);
        for (Line& line : std::exchange(lines, {})) {
            take(parseMessage(std::move(line.object)));
        }
    }
}

}  // namespace tool
