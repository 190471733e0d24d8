// SPDX-License-Identifier: Apache-2.0
// Checks of options' values. They are complained about as arguments of operations are.
#ifndef FAPI_BENCH_CLI_OPTION_CHECKS_H
#define FAPI_BENCH_CLI_OPTION_CHECKS_H

#include <CLI/CLI.hpp>

namespace tool {

CLI::Validator numberUpTo(long long max, long long min = 0);
CLI::Validator seconds();
// Acts at once: what is printed of a wrong command line is colored as it says, too.
CLI::Validator colorUse();
CLI::Validator notEmpty();

}  // namespace tool

#endif
