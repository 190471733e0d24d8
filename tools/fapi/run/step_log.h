// SPDX-License-Identifier: Apache-2.0
// The library's log while a plan runs.
#ifndef FAPI_BENCH_RUN_STEP_LOG_H
#define FAPI_BENCH_RUN_STEP_LOG_H

#include <cstddef>
#include <deque>
#include <string>

namespace tool {

// What an attempt at a step has logged: its last lines.
class StepLog {
public:
    // A line without its end. `dropped` lines before it have not come.
    void add(const std::string& line, long long dropped);
    void clear();
    // At most the last 400 lines; without the sequences that color a terminal.
    std::string text() const;

private:
    std::deque<std::string> _lines;
    std::size_t _bytes = 0;
    bool _isCut = false;
};

}  // namespace tool

#endif
