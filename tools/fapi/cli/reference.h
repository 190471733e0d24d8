// SPDX-License-Identifier: Apache-2.0
// `fapi reference`: all operations, as Markdown.
#ifndef FAPI_BENCH_CLI_REFERENCE_H
#define FAPI_BENCH_CLI_REFERENCE_H

#include <string>

namespace tool {

std::string reference();

}  // namespace tool

#endif
