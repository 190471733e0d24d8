// SPDX-License-Identifier: Apache-2.0
// The peer of a call through hub, supervisor and worker: three processes that do nothing but pass lines on.
#ifndef BENCHMARKS_BARE_PROCESSES_H
#define BENCHMARKS_BARE_PROCESSES_H

#include <array>
#include <cstddef>
#include <string>

#include <sys/types.h>

namespace bench {

class BareProcesses {
public:
    // The last process answers each line with one of that size.
    explicit BareProcesses(std::size_t answerSize);
    ~BareProcesses();
    BareProcesses(const BareProcesses&) = delete;
    BareProcesses& operator=(const BareProcesses&) = delete;

    // Sends the line, and waits for the answer. False when it has another size.
    bool exchange(const std::string& line);

private:
    const std::size_t _answerSize;
    int _connection = -1;
    std::array<pid_t, 3> _processes = {};
};

}  // namespace bench

#endif
