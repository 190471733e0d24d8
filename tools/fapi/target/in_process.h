// SPDX-License-Identifier: Apache-2.0
// The library and the virtual set in this process.
#ifndef FAPI_BENCH_TARGET_IN_PROCESS_H
#define FAPI_BENCH_TARGET_IN_PROCESS_H

#include "actions/middleware_words.h"
#include "actions/picture_source.h"
#include "operations/events.h"
#include "protocol/outcome.h"

namespace tool {

Outcome invoke(const Operation& operation, const std::vector<Value>& arguments);
Outcome perform(const Action& action, const std::vector<Value>& arguments);
std::string warningOf(const Operation& operation, const std::vector<Value>& values, const std::vector<Value>& first);

}  // namespace tool

#endif
