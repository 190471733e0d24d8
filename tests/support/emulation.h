// SPDX-License-Identifier: Apache-2.0
// Marks tests that cannot run under the user-mode emulator of another processor. They run on an emulated machine.
#ifndef TESTS_SUPPORT_EMULATION_H
#define TESTS_SUPPORT_EMULATION_H

#include <cstdlib>

#include <gtest/gtest.h>

namespace test {

// Whether the user-mode emulator runs this program, as who starts it says.
inline bool isEmulated() {
    return std::getenv("FAPI_EMULATED") != nullptr;
}

}  // namespace test

#define SKIP_UNDER_EMULATION()                                                                            \
    if (test::isEmulated()) {                                                                             \
        GTEST_SKIP() << "the user-mode emulator may hang with several threads and with forked processes"; \
    }                                                                                                     \
    static_cast<void>(0)

#endif
