// SPDX-License-Identifier: Apache-2.0
// Where data of fapi go.
#include "base/data_output.h"

#include <poll.h>

namespace tool {

FILE* dataOutput() {
    return stdout;
}

bool isOutputWritten() {
    return std::fflush(dataOutput()) == 0 && std::ferror(dataOutput()) == 0;
}

bool isReaderGone() {
    pollfd output = {fileno(dataOutput()), POLLOUT, 0};
    return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

void printLine(std::string line) {
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), dataOutput());
    std::fflush(dataOutput());
}

}  // namespace tool
