// SPDX-License-Identifier: Apache-2.0
// Marks tests that cannot run under the user-mode emulator of another processor.
#ifndef TESTS_SUPPORT_EMULATION_H
#define TESTS_SUPPORT_EMULATION_H

#include <gtest/gtest.h>

namespace test {

#if defined(FAPI_EMULATED)
constexpr bool kEmulated = true;
#else
constexpr bool kEmulated = false;
#endif

}  // namespace test

#if defined(FAPI_EMULATED)
#define SKIP_UNDER_EMULATION() \
    GTEST_SKIP() << "the user-mode emulator may hang with several threads and with forked processes"
#else
#define SKIP_UNDER_EMULATION() static_cast<void>(0)
#endif

#endif
