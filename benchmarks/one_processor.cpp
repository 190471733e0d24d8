// SPDX-License-Identifier: Apache-2.0
// Round trips on one processor.
#include "one_processor.h"

#include <filesystem>
#include <string>

namespace bench {

OneProcessor::OneProcessor(const std::vector<pid_t>& processes) : _threads{0} {
    for (const pid_t process : processes) {
        for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
            _threads.push_back(static_cast<pid_t>(std::stol(thread.path().filename().string())));
        }
    }
    sched_getaffinity(0, sizeof(_before), &_before);
    // The last one that is allowed: interrupts are mostly served by the first.
    cpu_set_t last;
    CPU_ZERO(&last);
    for (int processor = CPU_SETSIZE - 1; processor >= 0; --processor) {
        if (CPU_ISSET(processor, &_before)) {
            CPU_SET(processor, &last);
            break;
        }
    }
    apply(last);
}

OneProcessor::~OneProcessor() {
    apply(_before);
}

void OneProcessor::apply(const cpu_set_t& processors) const {
    for (const pid_t thread : _threads) {
        // A thread that has ended needs no place.
        sched_setaffinity(thread, sizeof(processors), &processors);
    }
}

}  // namespace bench
