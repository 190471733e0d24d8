// SPDX-License-Identifier: Apache-2.0
// Why a worker has ended, in words.
#ifndef FAPI_BENCH_TARGET_WORKER_END_H
#define FAPI_BENCH_TARGET_WORKER_END_H

#include <string>

#include "protocol/field.h"

namespace tool {

// "SIGSEGV (Segmentation fault)" or "exit code 3", of a notification that says how it has ended.
std::string causeOf(const Field& end);

}  // namespace tool

#endif
