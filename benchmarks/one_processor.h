// SPDX-License-Identifier: Apache-2.0
// Round trips on one processor: which one the kernel picks at each wake-up would count for more than what the
// processes do.
#ifndef BENCHMARKS_ONE_PROCESSOR_H
#define BENCHMARKS_ONE_PROCESSOR_H

#include <vector>

#include <sched.h>
#include <sys/types.h>

namespace bench {

class OneProcessor {
public:
    // Keeps this thread, what it starts, and all threads of those processes on one processor while the object lives.
    explicit OneProcessor(const std::vector<pid_t>& processes = {});
    ~OneProcessor();
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;

private:
    void apply(const cpu_set_t& processors) const;

    std::vector<pid_t> _threads;  // 0 is this one
    cpu_set_t _before = {};
};

}  // namespace bench

#endif
