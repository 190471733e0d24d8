// SPDX-License-Identifier: Apache-2.0
// `fapi serve` on the command line.
#ifndef FAPI_BENCH_CLI_SERVE_H
#define FAPI_BENCH_CLI_SERVE_H

#include <functional>

#include "cli/station.h"
#include "target/confirm.h"

namespace CLI {
class App;
}

namespace tool {

void addServeOptions(CLI::App& serve, const GlobalOptions& options, const StationOptions& station,
                     std::function<int()>& action);

}  // namespace tool

#endif
