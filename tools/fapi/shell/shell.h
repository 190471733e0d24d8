// SPDX-License-Identifier: Apache-2.0
// `fapi shell`: one line after the other.
#ifndef FAPI_BENCH_SHELL_SHELL_H
#define FAPI_BENCH_SHELL_SHELL_H

#include "target/confirm.h"

namespace tool {

struct ShellOptions {
    bool noInit = false;        // operations find the set as it is
    bool endOnFailure = false;  // no line is run behind an operation that has failed
};

int runShell(const GlobalOptions& options, const ShellOptions& shellOptions);

}  // namespace tool

#endif
