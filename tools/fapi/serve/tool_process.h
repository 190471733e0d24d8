// SPDX-License-Identifier: Apache-2.0
// Commands of the bench as processes of their own: what the page does is what a command line does.
#ifndef FAPI_BENCH_SERVE_TOOL_PROCESS_H
#define FAPI_BENCH_SERVE_TOOL_PROCESS_H

#include <chrono>
#include <string>

#include "base/words.h"
#include "hub/descriptor.h"

namespace tool {

// A process of this program, in a session of its own, so that it goes on when this one is killed.
class ToolProcess {
public:
    // `words` follow the program's name. Throws SetError.
    explicit ToolProcess(const Words& words);

    long long pid() const { return _pid; }
    // Waits so long for its end. False when it still runs.
    bool wait(std::chrono::milliseconds limit);
    void kill() const;
    // How it has ended: its exit code, or 128 and the signal.
    int code() const { return _code; }
    std::string output() const { return textOf(_output); }
    std::string errors() const { return textOf(_errors); }

private:
    static std::string textOf(const Descriptor& file);

    Descriptor _output, _errors;
    long long _pid = -1;
    int _code = -1;
};

// Runs a command to its end, or ends it at the limit.
struct ToolResult {
    int code;
    std::string output, errors;
};
ToolResult runTool(const Words& words, std::chrono::milliseconds limit);

}  // namespace tool

#endif
