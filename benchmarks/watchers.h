// SPDX-License-Identifier: Apache-2.0
// Clients of the hub, a process each, that watch everything while another one drives.
#ifndef BENCHMARKS_WATCHERS_H
#define BENCHMARKS_WATCHERS_H

#include <cstddef>
#include <string>
#include <vector>

#include <sys/types.h>

#include "target/target.h"

namespace bench {

class Watchers {
public:
    // Returns when all of them watch.
    Watchers(const tool::TargetOptions& options, std::size_t count);
    ~Watchers();
    Watchers(const Watchers&) = delete;
    Watchers& operator=(const Watchers&) = delete;

    // Ends them. Returns what they have missed or received twice; empty: nothing, and all have received the same.
    std::string end();

private:
    struct Watcher {
        pid_t process;
        int reports;
    };
    int _stop = -1;
    std::vector<Watcher> _watchers;
};

}  // namespace bench

#endif
