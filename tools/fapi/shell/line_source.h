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
    virtual ~LineSource() = default;
    // The next line. False at the end.
    virtual bool read(std::string& line) = 0;
    virtual bool isInteractive() const = 0;
    // Puts the terminal back as it was before: another program goes on with it. Any thread.
    virtual void leaveTerminal() const {}
    // Prints lines while one is typed: they stand above it, and what there is of it is shown again. Any thread.
    virtual void printAbove(const std::function<void()>& print) { print(); }
};

// Of standard input: edited, with history and completion, on a terminal.
std::unique_ptr<LineSource> makeLineSource();

}  // namespace tool

#endif
