// SPDX-License-Identifier: Apache-2.0
// Why a worker has ended, in words.
#include "target/worker_end.h"

#include <csignal>
#include <cstring>

namespace tool {

std::string causeOf(const Field& end) {
    if (!end.has("signal")) {
        return "exit code " + std::to_string(end["exit"].numberOr(0));
    }
    std::string name = end["signal"].text();
    for (int number = 1; number < NSIG; ++number) {
        const char* abbreviation = sigabbrev_np(number);
        if (abbreviation != nullptr && name == std::string("SIG") + abbreviation) {
            return name + " (" + sigdescr_np(number) + ")";
        }
    }
    return name;
}

}  // namespace tool
