// SPDX-License-Identifier: Apache-2.0
// The library's debug switch, for units of it that are compiled into a test: the library hides its own.
#include <atomic>

#include "base/fapi_log.h"

std::atomic<unsigned char> u8TvFactoryDebug{0};
