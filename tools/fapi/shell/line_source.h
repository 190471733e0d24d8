// SPDX-License-Identifier: Apache-2.0
// Where the lines of the shell come from: a person at a terminal, or a pipe.
#ifndef FAPI_BENCH_SHELL_LINE_SOURCE_H
#define FAPI_BENCH_SHELL_LINE_SOURCE_H

#include <functional>
#include <memory>
#include <string>

namespace tool {

class LineSource {
public:
    // Waits until standard input is readable. False when no line is to come any more.
    using Wait = std::function<bool()>;

    virtual ~LineSource() = default;
    // The next line. False at the end.
    virtual bool read(std::string& line) = 0;
    virtual bool isInteractive() const = 0;
    // Prints lines while one is typed or runs: they stand above what is typed, which is shown again.
    virtual void printAbove(const std::function<void()>& print) { print(); }
};

// Of standard input: edited, with history and completion, on a terminal. `wait` may print above what is typed.
std::unique_ptr<LineSource> makeLineSource(LineSource::Wait wait);

}  // namespace tool

#endif
