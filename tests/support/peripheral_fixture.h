// SPDX-License-Identifier: Apache-2.0
// A set whose system and peripheral modules are up.
#ifndef TESTS_SUPPORT_PERIPHERAL_FIXTURE_H
#define TESTS_SUPPORT_PERIPHERAL_FIXTURE_H

#include "a_vextvfapi_prphrl.h"
#include "support/descriptors.h"
#include "support/emulation.h"
#include "support/events.h"
#include "support/library_fixture.h"
#include "support/waiting.h"
#include "vset/uart.h"

namespace test {

constexpr unsigned int kUartData = 0x100001;
constexpr unsigned int kPipeCommand = 0x100003;

constexpr signed char kBaud115200 = 4;

class PeripheralTest : public LibraryTest {
protected:
    PeripheralTest() : LibraryTest(a_vextvfapi_prphrl_init) {}
};

// A peripheral test of a service whose thread must have ended after the test.
class PeripheralServiceTest : public PeripheralTest {
protected:
    void SetUp() override {
        SKIP_UNDER_EMULATION();
        PeripheralTest::SetUp();
        _s32Threads = threads();
    }
    void TearDown() override {
        if (!IsSkipped()) {
            stopService();
            EXPECT_TRUE(eventually([this] { return hasEnded(); })) << "a thread is left";
            PeripheralTest::TearDown();
        }
    }
    virtual void stopService() = 0;

    bool hasEnded() const { return threads() <= _s32Threads; }

    Events events;

private:
    int _s32Threads = 0;
};

}  // namespace test

#endif
