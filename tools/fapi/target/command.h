// SPDX-License-Identifier: Apache-2.0
// One line of the shell, of a plan or of `fapi call`: an operation, or an action.
#ifndef FAPI_BENCH_TARGET_COMMAND_H
#define FAPI_BENCH_TARGET_COMMAND_H

#include <functional>
#include <string>
#include <vector>

#include "base/words.h"
#include "protocol/outcome.h"
#include "target/arguments.h"
#include "target/session.h"
#include "target/target_description.h"

namespace tool {

// The message for a name that is no operation, with the nearest one that is.
std::string unknownOperation(std::string_view word);

// A checked line, ready to run as often as wanted.
class Command {
public:
    // Throws UsageError; calls nothing. "set power-cycle" is a command too (isPowerCycle), which run() does not do.
    static Command parse(const Words& words, Together together = Together::checked);

    bool isPowerCycle() const { return _powerCycle; }
    // A power cycle, or an action that waits for one.
    bool endsProcess() const { return _powerCycle || (_action != nullptr && _action->endsWorker); }
    // Null for an action.
    const Operation* operation() const { return _operation; }
    const Action* action() const { return _action; }
    const std::vector<Value>& arguments() const { return _arguments; }
    // The names of the outputs that a run may have, for checking expectations before anything runs.
    std::vector<std::string> outputNames() const;
    // The line again, with short operation name and quotes where needed.
    std::string text() const;

    // Runs it on the session's set. An action that the set refuses gives an outcome that is not good, status -1, output
    // "error". Throws RequestError.
    CallAnswer run(const CallOptions& options = {}) const;
    // "ok", "failed", ...
    std::string word(const Outcome& outcome) const;

private:
    bool _powerCycle = false;
    const Operation* _operation = nullptr;
    const Action* _action = nullptr;
    Words _words;
    std::vector<Value> _arguments;
};

}  // namespace tool

#endif
