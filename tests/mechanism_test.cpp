// SPDX-License-Identifier: Apache-2.0
// What the modules' tests do not see of the mechanisms that they share.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>
#include <sys/prctl.h>

#include "base/fapi_background_task.h"
#include "base/fapi_handle_lease.h"
#include "support/emulation.h"
#include "support/waiting.h"

namespace {

// A family that finds and opens what it is asked for.
struct Fake {
    static inline HW_Result_t u32Close = HW_OK;
    static inline int s32Closed = 0;

    static HW_Result_t getHandle(const HW_Handle_t* phAsked, HW_Handle_t* phHandle) { return open(phAsked, phHandle); }
    static HW_Result_t open(const HW_Handle_t* phAsked, HW_Handle_t* phHandle) {
        *phHandle = *phAsked;
        return HW_OK;
    }
    static HW_Result_t close(HW_Handle_t) {
        ++s32Closed;
        return u32Close;
    }
};

TEST(HandleLease, ClosesWhatItOpenedOnce) {
    const struct {
        HW_Handle_t hAsked;
        bool bOpen, bKeep;
        HW_Result_t closeResult;
        int s32Closed;
    } kRows[] = {
        {7, true, false, HW_OK, 1},  {7, true, false, HW_ERR_BUSY, 1}, {7, true, true, HW_OK, 0},
        {7, false, false, HW_OK, 0}, {0, true, false, HW_OK, 0},  // a handle of 0 is none
    };
    for (const auto& stRow : kRows) {
        for (const bool bRelease : {true, false}) {
            SCOPED_TRACE(&stRow - kRows);
            Fake::s32Closed = 0;
            Fake::u32Close = stRow.closeResult;
            {
                fapi::HandleLease<Fake> lease;
                EXPECT_EQ(stRow.bOpen ? lease.open(stRow.hAsked) : lease.find(stRow.hAsked), HW_OK);
                EXPECT_EQ(lease.isOpened(), stRow.bOpen);
                EXPECT_EQ(lease.handle(), stRow.hAsked);
                EXPECT_EQ(stRow.bKeep && lease.keepOpen(), stRow.bKeep);
                if (bRelease) {
                    EXPECT_EQ(lease.release(), stRow.closeResult) << "a failed close is reported";
                }
            }
            EXPECT_EQ(Fake::s32Closed, stRow.s32Closed) << "by release and destructor together";
        }
    }
}

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

}  // namespace
