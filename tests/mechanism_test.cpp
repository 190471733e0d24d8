// SPDX-License-Identifier: Apache-2.0
// Workers and texts of the log, as far as the modules' tests do not see them.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/prctl.h>

#include "base/fapi_background_task.h"
#include "base/fapi_log_text.h"
#include "base/fapi_memory.h"
#include "support/emulation.h"
#include "support/waiting.h"
#include "vset/vset.h"

namespace {

fapi::BackgroundTask g_task;
std::atomic<int> g_s32Runs{0};
char g_acName[16];

void* runWhileEnabled(void*) {
    fapi::nameThisThread("StdFactoryUart_Task");
    prctl(PR_GET_NAME, g_acName, 0, 0, 0);
    while (g_task.isEnabled()) {
        std::this_thread::yield();
    }
    ++g_s32Runs;
    g_task.markStopped();
    return nullptr;
}

void* endAtOnce(void*) {
    g_task.markStopped();
    return nullptr;
}

bool waitStopped() {
    return test::eventually([] { return !g_task.isStarted(); });
}

TEST(BackgroundTask, RunsUntilItIsDisabled) {
    SKIP_UNDER_EMULATION();
    g_s32Runs = 0;
    EXPECT_FALSE(g_task.isStarted());
    ASSERT_EQ(g_task.start(runWhileEnabled, nullptr), 0);
    EXPECT_TRUE(g_task.isStarted());
    g_task.disable();
    ASSERT_TRUE(waitStopped());
    EXPECT_EQ(g_s32Runs, 1);
    EXPECT_STREQ(g_acName, "StdFactoryUart_") << "cut to what the kernel keeps, not refused";
}

TEST(BackgroundTask, AWorkerThatEndsAtOnceDoesNotStayStarted) {
    SKIP_UNDER_EMULATION();
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(g_task.start(endAtOnce, nullptr), 0);
        ASSERT_TRUE(waitStopped());
    }
}

TEST(BackgroundTask, PollsOnlyAsOftenAsAsked) {
    int s32Waits = 0;
    const auto wait = [&](const char* /*pszCaller*/) { ++s32Waits; };
    EXPECT_TRUE(fapi::pollUntil(10, wait, [&] { return s32Waits == 3; }));
    EXPECT_EQ(s32Waits, 3) << "waits first, then looks";
    s32Waits = 0;
    EXPECT_FALSE(fapi::pollUntil(10, wait, [] { return false; }));
    EXPECT_EQ(s32Waits, 10);
}

TEST(Memory, IsAsLongAsWanted) {
    EXPECT_GE(malloc_usable_size(fapi::allocateZeroes(65536).get()), 65536u);
    EXPECT_NE(fapi::allocateZeroes(0), nullptr);
}

TEST(BoundedText, EndsAtItsFirstZeroOrAtTheLastByte) {
    const unsigned char au8Text[] = {'a', 'b', 'c', '\0', 'd'};
    EXPECT_STREQ(fapi::BoundedText(nullptr, 3).get(), "(null)");
    EXPECT_STREQ(fapi::BoundedText(au8Text, 5).get(), "abc");
    EXPECT_STREQ(fapi::BoundedText(au8Text, 2).get(), "ab");
    EXPECT_STREQ(fapi::BoundedText(au8Text, 0).get(), "");
    vset::inject({vset::kAllocation});
    EXPECT_STREQ(fapi::BoundedText(au8Text, 2).get(), "");
    vset::clearFaults();
}

}  // namespace
