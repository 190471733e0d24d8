// SPDX-License-Identifier: Apache-2.0
// Captures what the library prints with its debug switch on.
#ifndef TESTS_SUPPORT_LOG_CAPTURE_H
#define TESTS_SUPPORT_LOG_CAPTURE_H

#include <cstdio>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "a_vextvfapi_common.h"
#include "vset/vset.h"

namespace test {

// Makes or removes the debug switch, a file of the attached set, and lets the library read it again.
inline void switchLog(bool bOn) {
    const std::string strSwitch = vset::hostPath("/data/tvfapi_hal_debug");
    if (bOn) {
        std::fclose(std::fopen(strSwitch.c_str(), "w"));
    } else {
        std::remove(strSwitch.c_str());
    }
    _a_vextvfapi_common_init();
}

// Replaces "<function:123>" by "<function>".
std::string withoutLines(const std::string& strLog);

// Runs `body` with the log on and returns what came to standard output.
template <class Body>
std::string logWithLinesOf(Body&& body) {
    std::fflush(stdout);
    testing::internal::CaptureStdout();
    switchLog(true);
    testing::internal::GetCapturedStdout();
    testing::internal::CaptureStdout();
    body();
    std::fflush(stdout);
    const std::string strLog = testing::internal::GetCapturedStdout();
    switchLog(false);
    if (testing::Test::HasFailure()) {
        // A failed expectation inside the body went the way of the log.
        std::fputs(strLog.c_str(), stderr);
    }
    return strLog;
}

// Does the same and takes the source lines out.
template <class Body>
std::string logOf(Body&& body) {
    return withoutLines(logWithLinesOf(std::forward<Body>(body)));
}

}  // namespace test

#endif
